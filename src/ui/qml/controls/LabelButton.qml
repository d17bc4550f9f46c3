import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// A bordered button with a symbol and a word; checkable ones fill while on.
AbstractButton {
    id: root

    property string symbol
    property string toolTip
    property color tint: Theme.ink

    implicitHeight: 28
    implicitWidth: row.implicitWidth + 20
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    Accessible.role: checkable ? Accessible.CheckBox : Accessible.Button
    Accessible.name: text
    Accessible.description: toolTip
    Accessible.checkable: checkable
    Accessible.checked: checked

    ToolTip.visible: toolTip !== "" && hovered
    ToolTip.delay: 600
    ToolTip.text: toolTip

    background: Rectangle {
        radius: 7
        color: root.checked ? Qt.rgba(root.tint.r, root.tint.g, root.tint.b, 0.14) : root.pressed ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.1) : root.hovered ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.05) : Theme.card
        border.color: root.visualFocus ? Theme.ink : root.checked ? Qt.rgba(root.tint.r, root.tint.g, root.tint.b, 0.35) : Theme.line
        border.width: root.visualFocus ? 2 : 1
    }
    contentItem: Item {
        implicitWidth: row.implicitWidth
        RowLayout {
            id: row
            anchors.centerIn: parent
            spacing: 6
            Symbol {
                visible: root.symbol !== ""
                name: root.symbol
                size: 12
                color: root.enabled ? root.tint : Theme.tertiary
            }
            Text {
                text: root.text
                font.pixelSize: 12
                font.weight: Font.Medium
                color: root.enabled ? root.tint : Theme.tertiary
            }
        }
    }
}
