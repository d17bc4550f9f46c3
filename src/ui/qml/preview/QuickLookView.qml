import QtQuick
import Velk

// One file shown at length, by its kind: a picture, a video or a song, the pages of a PDF, plain text,
// a folder's picture, or else its icon, kind and size. What cannot be shown shows that last placeholder.
Item {
    id: root

    property var item
    property bool autostarts: false
    // Small: the inspector's column.
    property bool compact: false
    readonly property string kind: item && item.isValid ? Format.previewKind(item) : ""
    readonly property bool failed: view.item ? view.item.failed === true : false
    readonly property Item content: view.item

    Loader {
        id: view
        objectName: "quickLook:" + root.kind
        anchors.fill: parent
        active: root.kind !== ""
        sourceComponent: {
            switch (root.kind) {
            case "picture":
                return picture
            case "video":
            case "audio":
                return media
            case "pdf":
                return pdf
            case "text":
                return text
            default:
                return generic
            }
        }
    }

    Loader {
        objectName: "quickLookFallback"
        anchors.fill: parent
        active: root.failed
        sourceComponent: generic
    }

    Component {
        id: picture
        PicturePreview {
            item: root.item
            visible: !failed
        }
    }
    Component {
        id: media
        MediaPreview {
            item: root.item
            autostarts: root.autostarts
            compact: root.compact
            visible: !failed
        }
    }
    Component {
        id: pdf
        PdfPreview {
            item: root.item
            visible: !failed
        }
    }
    Component {
        id: text
        TextPreview {
            item: root.item
            visible: !failed
        }
    }
    Component {
        id: generic
        GenericPreview {
            item: root.item
        }
    }
}
