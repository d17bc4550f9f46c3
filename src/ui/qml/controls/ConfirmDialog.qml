import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// Asks before files go to the Trash: a title, a short message, Cancel and the red button. Escape and
// Cancel dismiss it; Return confirms.
Dialog {
    id: root

    property string message
    property string confirmText

    signal confirmed
    signal dismissed

    objectName: "confirmDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
    focus: true
    width: 380
    padding: 20
    closePolicy: Popup.CloseOnEscape

    Overlay.modal: Rectangle {
        color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.25)
    }

    background: Rectangle {
        radius: 14
        color: Theme.card
        border.color: Theme.line
        border.width: 1
    }

    header: Text {
        objectName: "confirmTitle"
        text: root.title
        wrapMode: Text.WordWrap
        padding: 20
        bottomPadding: 0
        font.pixelSize: 15
        font.weight: Font.DemiBold
        color: Theme.ink
    }

    contentItem: FocusScope {
        implicitHeight: messageText.implicitHeight
        focus: true
        Keys.onReturnPressed: root.accept()
        Keys.onEnterPressed: root.accept()
        Text {
            id: messageText
            width: parent.width
            text: root.message
            wrapMode: Text.WordWrap
            font.pixelSize: 12
            color: Theme.secondary
        }
    }

    footer: RowLayout {
        spacing: 8
        Item {
            Layout.fillWidth: true
            Layout.leftMargin: 20
        }
        Button {
            objectName: "confirmCancel"
            text: "Cancel"
            Layout.bottomMargin: 18
            onClicked: root.reject()
        }
        Button {
            id: destroyButton
            objectName: "confirmDestroy"
            text: root.confirmText
            Layout.rightMargin: 20
            Layout.bottomMargin: 18
            palette.buttonText: "white"
            background: Rectangle {
                implicitHeight: 32
                radius: 7
                color: destroyButton.down ? Qt.darker(Theme.red, 1.2) : Theme.red
            }
            onClicked: root.accept()
        }
    }

    onAccepted: root.confirmed()
    onRejected: root.dismissed()
}
