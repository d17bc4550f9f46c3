import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// One file in the inspector: a small preview, its title and kind, Open and Files, the site it came
// from, its text, and its information rows.
ScrollView {
    id: root

    property var item
    readonly property alias model: inspector

    contentWidth: availableWidth
    clip: true

    InspectorModel {
        id: inspector
        objectName: "inspectorModel"
        item: root.item
    }

    ColumnLayout {
        width: root.availableWidth
        spacing: 14

        Item {
            Layout.preferredHeight: 6
        }

        // The preview: a folder's picture, or the file itself, which never plays by itself here.
        Rectangle {
            objectName: "inspectorPreview"
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            Layout.preferredHeight: 230
            radius: 10
            color: Theme.fill
            border.color: Theme.line
            border.width: 1
            clip: true

            FolderItemCard {
                anchors.fill: parent
                anchors.margins: 16
                visible: inspector.isFolder
                url: inspector.isFolder ? inspector.url : ""
            }
            QuickLookView {
                anchors.fill: parent
                anchors.margins: 1
                visible: !inspector.isFolder
                item: inspector.isFolder ? undefined : root.item
                autostarts: false
                compact: true
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            spacing: 3
            TextEdit {
                objectName: "inspectorTitle"
                Layout.fillWidth: true
                text: inspector.title
                readOnly: true
                selectByMouse: true
                wrapMode: TextEdit.Wrap
                font.pixelSize: 15
                font.weight: Font.DemiBold
                color: Theme.ink
                selectionColor: Qt.rgba(0.25, 0.5, 0.95, 0.35)
                selectedTextColor: Theme.ink
            }
            Text {
                objectName: "inspectorKind"
                Layout.fillWidth: true
                text: inspector.kindLine
                elide: Text.ElideRight
                font.pixelSize: 12
                color: Theme.secondary
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            spacing: 8
            LabelButton {
                objectName: "inspectorOpen"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: "Open"
                symbol: "arrow.up.forward.app"
                onClicked: inspector.open()
            }
            LabelButton {
                objectName: "inspectorReveal"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                text: "Files"
                symbol: "folder"
                toolTip: "Show in Files"
                onClicked: inspector.reveal()
            }
        }

        // The site the file was downloaded from.
        AbstractButton {
            id: sourceRow
            objectName: "inspectorSource"
            Layout.fillWidth: true
            Layout.leftMargin: 10
            Layout.rightMargin: 10
            visible: inspector.sourceName !== ""
            padding: 10
            hoverEnabled: true
            Accessible.role: Accessible.Button
            Accessible.name: "Downloaded from " + inspector.sourceName
            onClicked: inspector.showSource()
            background: Rectangle {
                radius: 8
                color: sourceRow.hovered ? Theme.fill : "transparent"
            }
            contentItem: RowLayout {
                spacing: 10
                SourceBadge {
                    name: inspector.sourceName
                    symbol: inspector.sourceSymbol
                    size: 26
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 1
                    Text {
                        Layout.fillWidth: true
                        text: "Downloaded from " + inspector.sourceName
                        elide: Text.ElideRight
                        font.pixelSize: 12
                        font.weight: Font.Medium
                        color: Theme.ink
                    }
                    Text {
                        Layout.fillWidth: true
                        text: "Show all files from " + inspector.sourceName
                        elide: Text.ElideRight
                        font.pixelSize: 11
                        color: Theme.secondary
                    }
                }
                Symbol {
                    name: "chevron.right"
                    size: 11
                    color: Theme.tertiary
                }
            }
        }

        Rectangle {
            visible: inspector.canReadText
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.line
        }
        RecognizedTextSection {
            objectName: "recognizedText"
            visible: inspector.canReadText
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            item: inspector.canReadText ? root.item : undefined
            title: inspector.textTitle
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.line
        }
        Text {
            Layout.leftMargin: 20
            text: "Information"
            font.pixelSize: 13
            font.weight: Font.DemiBold
            color: Theme.ink
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Repeater {
            objectName: "detailRows"
            model: inspector.rows
            delegate: RowLayout {
                required property var modelData
                Layout.fillWidth: true
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                spacing: 12
                Text {
                    Layout.alignment: Qt.AlignTop
                    text: modelData.label
                    font.pixelSize: 12
                    color: Theme.secondary
                }
                TextEdit {
                    Layout.fillWidth: true
                    text: modelData.value
                    readOnly: true
                    selectByMouse: true
                    wrapMode: TextEdit.Wrap
                    horizontalAlignment: TextEdit.AlignRight
                    font.pixelSize: 12
                    color: Theme.ink
                    selectionColor: Qt.rgba(0.25, 0.5, 0.95, 0.35)
                    selectedTextColor: Theme.ink
                }
            }
        }
        Item {
            Layout.preferredHeight: 20
        }
    }
}
