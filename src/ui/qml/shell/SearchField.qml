import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The search box: typing here searches the whole library; Escape clears it and lets go.
Rectangle {
    id: root

    readonly property bool focused: field.activeFocus

    function focusField() {
        field.forceActiveFocus()
    }

    radius: 12
    color: Theme.fill
    border.color: focused ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.35) : Theme.line
    border.width: focused ? 1.5 : 1

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 14
        anchors.rightMargin: 14
        spacing: 8

        Symbol {
            name: "magnifyingglass"
            size: 14
            color: Theme.secondary
        }

        TextField {
            id: field
            objectName: "searchInput"
            Layout.fillWidth: true
            text: AppState.searchText
            placeholderText: "Search, or try “pdfs from last week”…"
            placeholderTextColor: Theme.tertiary
            color: Theme.ink
            font.pixelSize: 13
            background: null
            leftPadding: 0
            rightPadding: 0
            selectByMouse: true
            Accessible.name: "Search"
            onTextEdited: AppState.searchText = text
            Keys.onEscapePressed: {
                AppState.searchText = ""
                field.focus = false
                root.parent.forceActiveFocus()
            }
        }

        SymbolButton {
            objectName: "clearSearchButton"
            visible: AppState.searchText !== ""
            symbol: "xmark.circle.fill"
            symbolSize: 14
            symbolColor: Theme.tertiary
            toolTip: "Clear Search"
            focusPolicy: Qt.NoFocus
            onClicked: AppState.searchText = ""
        }

        Row {
            visible: AppState.searchText === ""
            spacing: 4
            Repeater {
                model: ["Ctrl", "F"]
                delegate: Rectangle {
                    required property string modelData
                    width: Math.max(20, keyText.implicitWidth + 8)
                    height: 20
                    radius: 5
                    color: "transparent"
                    border.color: Theme.line
                    border.width: 1
                    Text {
                        id: keyText
                        anchors.centerIn: parent
                        text: parent.modelData
                        font.pixelSize: 10
                        font.weight: Font.Medium
                        color: Theme.secondary
                    }
                }
            }
        }
    }
}
