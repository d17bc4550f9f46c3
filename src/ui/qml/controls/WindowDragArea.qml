import QtQuick
import QtQuick.Window

// Makes a region behave like a title bar: a press and a move of a few pixels moves the window, a
// double click maximises it or gives it back its size.
MouseArea {
    id: root

    property point pressedAt
    property bool moving: false

    acceptedButtons: Qt.LeftButton
    onPressed: mouse => {
        pressedAt = Qt.point(mouse.x, mouse.y)
        moving = false
    }
    onPositionChanged: mouse => {
        if (moving || !pressed)
            return
        if (Math.abs(mouse.x - pressedAt.x) + Math.abs(mouse.y - pressedAt.y) < 4)
            return
        moving = true
        const window = root.Window.window
        // Without a window manager there is nobody to move the window: move it ourselves.
        if (!window.startSystemMove()) {
            window.x += mouse.x - pressedAt.x
            window.y += mouse.y - pressedAt.y
            moving = false
        }
    }
    onDoubleClicked: {
        const window = root.Window.window
        if (window.visibility === Window.Maximized)
            window.showNormal()
        else
            window.showMaximized()
    }
}
