import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The text read from a picture or a PDF, in the inspector: while reading, nothing found, or the text
// with a button that copies it.
ColumnLayout {
    id: root

    property var item
    property string title: "Text"
    readonly property alias model: recognized

    spacing: 8

    RecognizedTextModel {
        id: recognized
        item: root.item
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: 6
        Symbol {
            name: "text.viewfinder"
            size: 13
            color: Theme.ink
        }
        Text {
            Layout.fillWidth: true
            text: root.title
            font.pixelSize: 13
            font.weight: Font.DemiBold
            color: Theme.ink
        }
        LabelButton {
            objectName: "copyRecognizedText"
            visible: recognized.state === "text"
            implicitHeight: 24
            text: "Copy"
            symbol: "doc.on.doc"
            onClicked: recognized.copy()
        }
    }

    Rectangle {
        Layout.fillWidth: true
        Layout.preferredHeight: body.implicitHeight + 20
        radius: 8
        color: Theme.fill

        Item {
            id: body
            anchors.fill: parent
            anchors.margins: 10
            implicitHeight: recognized.state === "text" ? Math.min(200, textView.implicitHeight) : 18

            RowLayout {
                visible: recognized.state === "reading"
                spacing: 8
                BusyIndicator {
                    Layout.preferredWidth: 16
                    Layout.preferredHeight: 16
                    running: recognized.state === "reading" && root.visible
                }
                Text {
                    text: "Reading text…"
                    font.pixelSize: 12
                    color: Theme.secondary
                }
            }
            Text {
                visible: recognized.state === "empty"
                text: "No text found."
                font.pixelSize: 12
                color: Theme.secondary
            }
            Flickable {
                anchors.fill: parent
                visible: recognized.state === "text"
                contentHeight: textView.implicitHeight
                clip: true
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {}
                TextEdit {
                    id: textView
                    objectName: "recognizedTextBody"
                    width: parent.width
                    text: recognized.text
                    readOnly: true
                    selectByMouse: true
                    wrapMode: TextEdit.Wrap
                    font.pixelSize: 12
                    color: Theme.ink
                    selectionColor: Qt.rgba(0.25, 0.5, 0.95, 0.35)
                    selectedTextColor: Theme.ink
                }
            }
        }
    }
}
