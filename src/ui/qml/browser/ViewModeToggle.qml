import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// Cards or list, and the size of the cards.
Rectangle {
    id: root

    implicitWidth: row.implicitWidth + 4
    implicitHeight: 30
    radius: 10
    color: Theme.fill
    border.color: Theme.line
    border.width: 1

    RowLayout {
        id: row
        anchors.centerIn: parent
        spacing: 0

        Repeater {
            model: [["grid", "square.grid.2x2", "as Cards"], ["list", "list.bullet", "as List"]]
            delegate: SymbolButton {
                required property var modelData
                objectName: "viewMode:" + modelData[0]
                readonly property bool current: AppState.viewMode === modelData[0]
                Layout.preferredWidth: 30
                Layout.preferredHeight: 24
                symbol: modelData[1]
                symbolSize: 12
                active: current
                toolTip: modelData[2]
                onClicked: AppState.viewMode = modelData[0]
            }
        }
        Rectangle {
            Layout.preferredWidth: 1
            Layout.preferredHeight: 16
            Layout.leftMargin: 2
            Layout.rightMargin: 2
            color: Theme.line
        }
        SymbolButton {
            id: sizeButton
            objectName: "cardSizeButton"
            Layout.preferredWidth: 30
            Layout.preferredHeight: 28
            symbol: "line.3.horizontal.decrease"
            symbolSize: 12
            toolTip: "Card Size"
            onClicked: sizeMenu.popup(sizeButton, 0, sizeButton.height)
        }
    }

    Menu {
        id: sizeMenu
        Repeater {
            model: [["small", "Small"], ["medium", "Medium"], ["large", "Large"]]
            delegate: MenuItem {
                required property var modelData
                text: modelData[1]
                icon.source: AppState.cardSize === modelData[0] ? Symbols.source("checkmark") : ""
                onTriggered: AppState.cardSize = modelData[0]
            }
        }
    }
}
