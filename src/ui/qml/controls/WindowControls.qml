import QtQuick
import QtQuick.Window
import Velk

// The window's own minimise, maximise and close buttons, at the trailing end of the top bar.
Row {
    id: root

    readonly property var window: Window.window
    spacing: 6

    SymbolButton {
        objectName: "minimizeButton"
        symbol: "window.minimize"
        symbolSize: 12
        round: true
        toolTip: "Minimize"
        onClicked: root.window.showMinimized()
    }
    SymbolButton {
        objectName: "maximizeButton"
        readonly property bool maximized: root.window && root.window.visibility === Window.Maximized
        symbol: maximized ? "window.restore" : "window.maximize"
        symbolSize: 11
        round: true
        toolTip: maximized ? "Restore" : "Maximize"
        onClicked: maximized ? root.window.showNormal() : root.window.showMaximized()
    }
    SymbolButton {
        objectName: "closeButton"
        symbol: "window.close"
        symbolSize: 11
        round: true
        toolTip: "Close"
        onClicked: root.window.close()
    }
}
