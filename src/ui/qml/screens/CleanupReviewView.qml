import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The files of one kind of suggestion, with the bar that moves them to the Trash after asking.
FileBrowser {
    id: root

    property string key
    objectName: "cleanupReviewView"

    source: CleanupReviewSource {
        id: review
        itemKey: root.key
    }

    // For the snapshot of the confirmation: asks for the marked files.
    function askSelected() {
        review.askSelected()
    }

    accessory: review.hasItems ? actionBar : null

    Component {
        id: actionBar
        Rectangle {
            objectName: "cleanupActionBar"
            implicitHeight: 52
            radius: 12
            color: Qt.rgba(review.tint.r, review.tint.g, review.tint.b, 0.08)
            border.color: Qt.rgba(review.tint.r, review.tint.g, review.tint.b, 0.22)
            border.width: 1
            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: 14
                anchors.rightMargin: 10
                spacing: 8
                Symbol {
                    name: review.symbol
                    size: 16
                    color: review.tint
                }
                Text {
                    objectName: "freeableText"
                    text: review.freeable
                    font.pixelSize: 13
                    font.weight: Font.DemiBold
                    color: Theme.ink
                }
                Text {
                    visible: review.selectedCount === 0
                    text: "· Select files to trash only some of them"
                    font.pixelSize: 12
                    color: Theme.secondary
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Item {
                    visible: review.selectedCount > 0
                    Layout.fillWidth: true
                }
                Button {
                    objectName: "trashSelectedButton"
                    Accessible.name: text
                    visible: review.selectedCount > 0
                    enabled: !review.trashing
                    text: "Trash Selected (" + Format.count(review.selectedCount) + ")"
                    font.pixelSize: 12
                    onClicked: review.askSelected()
                }
                Button {
                    id: trashAll
                    objectName: "trashAllButton"
                    Accessible.name: text
                    enabled: !review.trashing
                    text: "Trash All"
                    font.pixelSize: 12
                    font.weight: Font.DemiBold
                    icon.source: Symbols.source("trash")
                    icon.width: 12
                    icon.height: 12
                    icon.color: "white"
                    palette.buttonText: "white"
                    background: Rectangle {
                        implicitHeight: 30
                        radius: 7
                        color: trashAll.down ? Qt.darker(review.tint, 1.2) : review.tint
                        opacity: trashAll.enabled ? 1 : 0.5
                    }
                    onClicked: review.askAll()
                }
            }
        }
    }

    // Delete asks to trash the marked files, as in a file manager.
    Shortcut {
        sequence: StandardKey.Delete
        enabled: review.selectedCount > 0 && !review.trashing
        onActivated: review.askSelected()
    }

    ConfirmDialog {
        id: confirm
        title: review.confirmTitle
        confirmText: review.confirmButton
        message: "You can restore them from the Trash."
        onConfirmed: review.confirm()
        onDismissed: review.dismiss()
    }

    Connections {
        target: review
        function onConfirmChanged() {
            if (review.confirming)
                confirm.open()
            else
                confirm.close()
        }
    }
}
