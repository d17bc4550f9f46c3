import QtQuick
import QtQuick.Controls
import Velk

// A PDF's pages one under the other, each drawn by a worker only when it comes near the view.
Item {
    id: root

    required property var item
    readonly property bool failed: document.ready && document.pageCount === 0
    readonly property bool ready: document.ready && document.pageCount > 0
    readonly property int currentPage: pages.indexAt(pages.width / 2, pages.contentY + pages.height / 3)

    function step(pages_) {
        const target = Math.max(0, Math.min(document.pageCount - 1, (currentPage < 0 ? 0 : currentPage) + pages_))
        pages.positionViewAtIndex(target, ListView.Beginning)
    }

    PdfDocumentModel {
        id: document
        url: root.item && root.item.isValid ? root.item.url : ""
    }

    ListView {
        id: pages
        objectName: "pdfPages"
        anchors.fill: parent
        clip: true
        model: root.ready ? document.pageCount : 0
        spacing: 16
        topMargin: 16
        bottomMargin: 16
        cacheBuffer: Math.max(0, height)
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        readonly property real pageWidth: Math.max(100, Math.min(width - 48, (height - 32) / document.aspect * 1.6))
        // Two fixed sizes, so that resizing the sheet does not draw every page again.
        readonly property int side: Math.max(pageWidth, pageWidth * document.aspect) * Screen.devicePixelRatio <= 1200 ? 1200 : PdfDocumentModel.kPageSide

        delegate: Item {
            id: page
            required property int index
            width: ListView.view.width
            height: pages.pageWidth * (image.status === Image.Ready && image.implicitWidth > 1 ? image.implicitHeight / image.implicitWidth : document.aspect)

            Rectangle {
                x: (parent.width - pages.pageWidth) / 2 + 1
                y: 2
                width: pages.pageWidth
                height: parent.height
                color: Qt.rgba(0, 0, 0, 0.16)
                radius: 2
            }
            Rectangle {
                x: (parent.width - pages.pageWidth) / 2
                width: pages.pageWidth
                height: parent.height
                color: "white"
                border.color: Theme.line
            }
            Image {
                id: image
                objectName: "pdfPage" + page.index
                x: (parent.width - pages.pageWidth) / 2
                width: pages.pageWidth
                height: parent.height
                source: ImageSources.pdfPage(root.item.url, page.index, pages.side)
                asynchronous: true
                cache: false
                smooth: true
                mipmap: true
                fillMode: Image.PreserveAspectFit
            }
        }
    }

    BusyIndicator {
        anchors.centerIn: parent
        running: !document.ready
        visible: running
    }

    Rectangle {
        visible: root.ready && document.pageCount > 1
        anchors.bottom: parent.bottom
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottomMargin: 12
        width: pageText.implicitWidth + 20
        height: 24
        radius: 12
        color: Qt.rgba(0, 0, 0, 0.6)
        Text {
            id: pageText
            objectName: "pdfPageText"
            anchors.centerIn: parent
            text: "Page " + (Math.max(0, root.currentPage) + 1) + " of " + document.pageCount
            font.pixelSize: 11
            color: "white"
        }
    }
}
