import QtQuick
import QtQuick.Layouts
import Velk

// The passing message: a capsule in the inverse colours of the window, bottom centre.
Item {
    id: root

    readonly property var toast: AppState.toast
    readonly property bool shown: toast !== undefined && toast !== null && toast.message !== undefined

    width: capsule.width
    height: 40
    opacity: shown ? 1 : 0
    visible: opacity > 0

    Behavior on opacity {
        NumberAnimation {
            duration: 250
            easing.type: Easing.OutCubic
        }
    }
    transform: Translate {
        y: root.shown ? 0 : 40
        Behavior on y {
            NumberAnimation {
                duration: 300
                easing.type: Easing.OutCubic
            }
        }
    }

    Rectangle {
        id: shadow
        anchors.fill: capsule
        anchors.topMargin: 6
        anchors.bottomMargin: -6
        radius: height / 2
        color: Qt.rgba(0, 0, 0, 0.2)
        opacity: 0.6
    }

    Rectangle {
        id: capsule
        height: 40
        width: row.implicitWidth + 36
        radius: 20
        color: Theme.ink

        Accessible.role: Accessible.AlertMessage
        Accessible.name: root.shown ? root.toast.message : ""

        RowLayout {
            id: row
            anchors.centerIn: parent
            spacing: 10

            Symbol {
                name: root.shown ? root.toast.symbol : ""
                size: 14
                color: Theme.bg
                visible: name !== ""
            }
            Text {
                objectName: "toastText"
                text: root.shown ? root.toast.message : ""
                color: Theme.bg
                font.pixelSize: 13
                font.weight: Font.Medium
            }
        }
    }
}
