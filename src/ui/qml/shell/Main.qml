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
    palette.highlight: Theme.ink

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
