import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// A capsule that shows a filter's label and value and opens its menu; stronger when the filter acts.
AbstractButton {
    id: root

    property string label
    property string value
    property bool active: false
    default property alias content: menu.contentData

    function openMenu() {
        menu.popup(root, 0, root.height + 4)
    }

    implicitHeight: 30
    implicitWidth: row.implicitWidth + 24
    hoverEnabled: true
    onClicked: openMenu()

    Accessible.role: Accessible.ButtonMenu
    Accessible.name: label + ": " + value

    background: Rectangle {
        radius: height / 2
        color: root.active ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.12) : root.hovered ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.07) : Theme.fill
        border.color: root.active ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.25) : Theme.line
        border.width: 1
    }
    contentItem: Item {
        RowLayout {
            id: row
            anchors.centerIn: parent
            spacing: 5
            Text {
                text: root.label + ":"
                font.pixelSize: 12
                color: Theme.secondary
            }
            Text {
                text: root.value
                font.pixelSize: 12
                font.weight: root.active ? Font.DemiBold : Font.Medium
                color: Theme.ink
            }
            Symbol {
                name: "chevron.down"
                size: 9
                color: Theme.secondary
            }
        }
    }

    Menu {
        id: menu
    }
}
