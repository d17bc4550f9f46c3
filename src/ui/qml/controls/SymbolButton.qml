import QtQuick
import QtQuick.Controls
import Velk

// A plain button that shows only a symbol; its tooltip is also its name for screen readers.
AbstractButton {
    id: root

    property string symbol
    property real symbolSize: 14
    property color symbolColor: active ? Theme.ink : Theme.secondary
    // On, or the present choice: drawn in the primary colour on a soft fill.
    property bool active: false
    property bool round: false
    property string toolTip

    implicitWidth: Math.max(24, symbolSize + 10)
    implicitHeight: Math.max(24, symbolSize + 10)
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    Accessible.role: Accessible.Button
    Accessible.name: toolTip

    ToolTip.visible: toolTip !== "" && hovered
    ToolTip.delay: 600
    ToolTip.text: toolTip

    background: Rectangle {
        radius: root.round ? height / 2 : 7
        color: root.pressed ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.1) : root.active && !root.round ? Theme.fill : root.hovered ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.05) : root.round ? Theme.card : "transparent"
        border.color: root.visualFocus ? Theme.ink : root.round ? Theme.line : "transparent"
        border.width: root.visualFocus ? 2 : root.round ? 1 : 0
    }
    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: root.symbol
            size: root.symbolSize
            color: root.symbolColor
        }
    }
}
