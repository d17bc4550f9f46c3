import QtQuick
import QtQuick.Controls
import Velk

// Plain text, Markdown and source code in a monospaced face, selectable; the first megabyte only.
Item {
    id: root

    required property var item
    readonly property bool failed: file.ready && file.failed
    readonly property alias text: file.text

    TextFileModel {
        id: file
        url: root.item && root.item.isValid ? root.item.url : ""
    }

    ScrollView {
        id: scroll
        anchors.fill: parent
        visible: file.ready && !file.failed

        TextArea {
            objectName: "previewText"
            text: file.text + (file.truncated ? "\n\n…" : "")
            textFormat: TextEdit.PlainText
            readOnly: true
            selectByMouse: true
            wrapMode: TextEdit.Wrap
            font.family: "monospace"
            font.pixelSize: 12
            color: Theme.ink
            selectionColor: Qt.rgba(0.25, 0.5, 0.95, 0.35)
            selectedTextColor: Theme.ink
            leftPadding: 20
            rightPadding: 20
            topPadding: 16
            bottomPadding: 16
            background: null
            Accessible.name: root.item ? root.item.name : ""
        }
    }

    BusyIndicator {
        anchors.centerIn: parent
        running: !file.ready
        visible: running
    }
}
