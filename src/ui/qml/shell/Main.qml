import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Velk

// The one window. It draws its own title area: the top bar is its drag area and carries the window
// buttons at its trailing end.
ApplicationWindow {
    id: window

    width: 1320
    height: 860
    minimumWidth: 1000
    minimumHeight: 640
    visible: true
    title: "Velk"
    color: Theme.bg
    flags: Qt.Window | Qt.FramelessWindowHint
    // Menus, tooltips and the other stock controls take the window's colours, light or dark.
    palette.window: Theme.card
    palette.base: Theme.card
    palette.alternateBase: Theme.fill
    palette.button: Theme.card
    palette.text: Theme.ink
    palette.windowText: Theme.ink
    palette.buttonText: Theme.ink
    palette.brightText: Theme.ink
    palette.placeholderText: Theme.tertiary
    palette.toolTipBase: Theme.ink
    palette.toolTipText: Theme.bg
    palette.highlight: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.12)
    palette.highlightedText: Theme.ink
    palette.light: Theme.card
    palette.midlight: Theme.fill
    palette.mid: Theme.line
    palette.dark: Theme.secondary

    Commands {
        id: commands
        objectName: "commands"
    }

    ContentView {
        id: content
        objectName: "contentView"
        anchors.fill: parent
        commands: commands
    }

    ResizeEdges {
        anchors.fill: parent
    }
}
