import QtQuick
import QtQuick.Layouts
import Velk

// One download source: its badge, its name, and how many files came from it.
Item {
    id: root

    property string name
    property string symbol
    property string detail
    readonly property bool hovering: hover.hovered

    signal clicked

    implicitHeight: 72
    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.description: detail
    Accessible.onPressAction: root.clicked()

    HoverHandler {
        id: hover
        cursorShape: Qt.PointingHandCursor
    }
    TapHandler {
        onTapped: root.clicked()
    }

    Rectangle {
        anchors.fill: card
        anchors.topMargin: root.hovering ? 5 : 2
        anchors.bottomMargin: root.hovering ? -5 : -2
        radius: 14
        color: Qt.rgba(0, 0, 0, Theme.dark ? (root.hovering ? 0.35 : 0.22) : (root.hovering ? 0.1 : 0.05))
    }
    Rectangle {
        id: card
        width: parent.width
        height: parent.height
        y: root.hovering ? -2 : 0
        radius: 14
        color: Theme.card
        border.color: Theme.line
        border.width: 1
        Behavior on y {
            NumberAnimation {
                duration: 120
            }
        }
        RowLayout {
            anchors.fill: parent
            anchors.margins: 14
            spacing: 12
            SourceBadge {
                name: root.name
                symbol: root.symbol
                size: 40
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                Text {
                    Layout.fillWidth: true
                    text: root.name
                    elide: Text.ElideRight
                    maximumLineCount: 1
                    font.pixelSize: 13
                    font.weight: Font.DemiBold
                    color: Theme.ink
                }
                Text {
                    Layout.fillWidth: true
                    text: root.detail
                    elide: Text.ElideRight
                    font.pixelSize: 11
                    color: Theme.secondary
                }
            }
        }
    }
}
