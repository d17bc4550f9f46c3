import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The large sheet over the window that shows one file at a time and steps through the list it was
// opened from. It is open exactly while AppState.previewItem is set.
FocusScope {
    id: root

    readonly property alias model: sheet
    readonly property alias content: quickLook
    visible: sheet.open
    focus: sheet.open
    z: 50

    // Where the keys went before the sheet took them, to give them back when it closes.
    property Item focusBefore: null

    PreviewSheetModel {
        id: sheet
        onOpenChanged: {
            if (open) {
                root.focusBefore = root.Window.activeFocusItem
                root.forceActiveFocus()
            } else if (root.focusBefore) {
                root.focusBefore.forceActiveFocus()
                root.focusBefore = null
            }
        }
    }

    function inside(item, ancestor) {
        for (let p = item; p; p = p.parent) {
            if (p === ancestor)
                return true
        }
        return false
    }
    // Tab goes round the sheet's own controls: the window behind is out of reach while it shows.
    function moveFocus(forward) {
        let item = root.Window.activeFocusItem
        for (let i = 0; i < 500 && item; ++i) {
            item = item.nextItemInFocusChain(forward)
            if (item && item.visible && item.enabled && inside(item, panel)) {
                item.forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason)
                return
            }
        }
    }

    // A focused control moves the keys along the window's chain before its parents see a Tab, so the
    // sheet takes Tab as a shortcut, which comes first.
    Shortcut {
        sequences: ["Tab"]
        enabled: sheet.open
        onActivated: root.moveFocus(true)
    }
    Shortcut {
        sequences: ["Shift+Tab", "Backtab"]
        enabled: sheet.open
        onActivated: root.moveFocus(false)
    }

    function handleKey(event) {
        const plain = event.modifiers === Qt.NoModifier || event.modifiers === Qt.KeypadModifier
        if (event.key === Qt.Key_Escape) {
            sheet.close()
        } else if (event.key === Qt.Key_Left && plain) {
            sheet.back()
        } else if (event.key === Qt.Key_Right && plain) {
            sheet.forward()
        } else if (event.key === Qt.Key_Space && plain) {
            // Space pauses what plays, and closes what Space opened.
            if (quickLook.content && quickLook.content.togglePlay !== undefined && quickLook.visible)
                quickLook.content.togglePlay()
            else
                sheet.close()
        } else if (quickLook.content && quickLook.content.zoomBy !== undefined && (event.text === "+" || event.text === "=")) {
            quickLook.content.zoomIn()
        } else if (quickLook.content && quickLook.content.zoomBy !== undefined && event.text === "-") {
            quickLook.content.zoomOut()
        } else if (quickLook.content && quickLook.content.zoomBy !== undefined && event.text === "0") {
            quickLook.content.zoomToFit()
        } else if (quickLook.content && quickLook.content.step !== undefined && (event.key === Qt.Key_PageDown || event.key === Qt.Key_PageUp)) {
            quickLook.content.step(event.key === Qt.Key_PageDown ? 1 : -1)
        } else {
            return
        }
        event.accepted = true
    }
    Keys.onPressed: event => handleKey(event)

    // The window behind takes no clicks while the sheet is up.
    Rectangle {
        anchors.fill: parent
        color: Qt.rgba(0, 0, 0, Theme.dark ? 0.45 : 0.28)
        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.AllButtons
            onWheel: wheel => wheel.accepted = true
        }
    }

    Rectangle {
        id: panel
        objectName: "previewSheet"
        anchors.centerIn: parent
        width: Math.max(Math.min(860, parent.width - 24), Math.min(1000, parent.width - 80))
        height: Math.max(Math.min(600, parent.height - 24), Math.min(720, parent.height - 80))
        radius: 12
        color: Theme.card
        border.color: Theme.line
        clip: true

        Accessible.role: Accessible.Dialog
        Accessible.name: sheet.name

        ColumnLayout {
            anchors.fill: parent
            spacing: 0

            RowLayout {
                id: toolbar
                objectName: "previewToolbar"
                Layout.fillWidth: true
                Layout.margins: 12
                spacing: 10

                SymbolButton {
                    objectName: "previewBack"
                    symbol: "chevron.left"
                    toolTip: "Previous (Left Arrow)"
                    enabled: sheet.canGoBack
                    symbolColor: enabled ? Theme.ink : Theme.tertiary
                    onClicked: sheet.back()
                }
                SymbolButton {
                    objectName: "previewForward"
                    symbol: "chevron.right"
                    toolTip: "Next (Right Arrow)"
                    enabled: sheet.canGoForward
                    symbolColor: enabled ? Theme.ink : Theme.tertiary
                    onClicked: sheet.forward()
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 1
                    Text {
                        objectName: "previewName"
                        Layout.fillWidth: true
                        text: sheet.name
                        elide: Text.ElideMiddle
                        font.pixelSize: 13
                        font.weight: Font.DemiBold
                        color: Theme.ink
                    }
                    Text {
                        objectName: "previewSubtitle"
                        Layout.fillWidth: true
                        text: sheet.subtitle
                        elide: Text.ElideRight
                        font.pixelSize: 11
                        color: Theme.secondary
                    }
                }
                LabelButton {
                    objectName: "selectTextToggle"
                    visible: sheet.canSelectText
                    checkable: true
                    checked: AppState.liveTextMode
                    text: "Select Text"
                    symbol: "text.viewfinder"
                    toolTip: "Select and copy text right on the image"
                    onToggled: AppState.liveTextMode = checked
                }
                LabelButton {
                    objectName: "copyTextButton"
                    visible: sheet.canCopyText
                    text: "Copy Text"
                    symbol: "doc.on.clipboard"
                    toolTip: "Copy all the text in this file (Ctrl+Shift+C)"
                    onClicked: sheet.copyText()
                }
                LabelButton {
                    objectName: "showInFilesButton"
                    text: "Show in Files"
                    symbol: "folder"
                    onClicked: sheet.showInFiles()
                }
                LabelButton {
                    objectName: "openButton"
                    text: "Open"
                    symbol: "arrow.up.forward.app"
                    onClicked: sheet.openExternally()
                }
                SymbolButton {
                    objectName: "previewClose"
                    symbol: "xmark"
                    toolTip: "Close (Esc)"
                    onClicked: sheet.close()
                }
            }

            Rectangle {
                Layout.fillWidth: true
                Layout.preferredHeight: 1
                color: Theme.line
            }

            Item {
                Layout.fillWidth: true
                Layout.fillHeight: true

                QuickLookView {
                    id: quickLook
                    objectName: "sheetQuickLook"
                    anchors.fill: parent
                    visible: !sheet.showsLiveText
                    // Nothing plays behind the Live Text view.
                    item: sheet.open && !sheet.showsLiveText ? sheet.item : undefined
                    autostarts: true
                }

                Loader {
                    id: liveText
                    objectName: "liveTextLoader"
                    anchors.fill: parent
                    active: sheet.showsLiveText
                    sourceComponent: Rectangle {
                        color: Qt.rgba(0, 0, 0, 0.04)
                        LiveTextImage {
                            objectName: "liveTextImage"
                            anchors.fill: parent
                            anchors.margins: 20
                            url: sheet.url
                        }
                    }
                }
            }
        }
    }
}
