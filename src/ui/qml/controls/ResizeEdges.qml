import QtQuick
import QtQuick.Window

// Thin areas along the window's edges and corners that resize it, since it has no frame of its own.
Item {
    id: root

    readonly property var window: Window.window
    readonly property int edge: 6
    visible: window && window.visibility !== Window.Maximized && window.visibility !== Window.FullScreen

    component Edge: MouseArea {
        required property int edges
        property point pressedAt
        property bool resizing: false
        hoverEnabled: true
        acceptedButtons: Qt.LeftButton
        onPressed: mouse => {
            pressedAt = Qt.point(mouse.x, mouse.y)
            resizing = false
        }
        onPositionChanged: mouse => {
            if (!pressed || resizing)
                return
            if (Math.abs(mouse.x - pressedAt.x) + Math.abs(mouse.y - pressedAt.y) < 4)
                return
            resizing = true
            root.window.startSystemResize(edges)
        }
    }

    Edge { edges: Qt.LeftEdge; x: 0; y: root.edge; width: root.edge; height: parent.height - 2 * root.edge; cursorShape: Qt.SizeHorCursor }
    Edge { edges: Qt.RightEdge; x: parent.width - root.edge; y: root.edge; width: root.edge; height: parent.height - 2 * root.edge; cursorShape: Qt.SizeHorCursor }
    Edge { edges: Qt.TopEdge; x: root.edge; y: 0; width: parent.width - 2 * root.edge; height: root.edge; cursorShape: Qt.SizeVerCursor }
    Edge { edges: Qt.BottomEdge; x: root.edge; y: parent.height - root.edge; width: parent.width - 2 * root.edge; height: root.edge; cursorShape: Qt.SizeVerCursor }
    Edge { edges: Qt.TopEdge | Qt.LeftEdge; x: 0; y: 0; width: root.edge; height: root.edge; cursorShape: Qt.SizeFDiagCursor }
    Edge { edges: Qt.TopEdge | Qt.RightEdge; x: parent.width - root.edge; y: 0; width: root.edge; height: root.edge; cursorShape: Qt.SizeBDiagCursor }
    Edge { edges: Qt.BottomEdge | Qt.LeftEdge; x: 0; y: parent.height - root.edge; width: root.edge; height: root.edge; cursorShape: Qt.SizeBDiagCursor }
    Edge { edges: Qt.BottomEdge | Qt.RightEdge; x: parent.width - root.edge; y: parent.height - root.edge; width: root.edge; height: root.edge; cursorShape: Qt.SizeFDiagCursor }
}
