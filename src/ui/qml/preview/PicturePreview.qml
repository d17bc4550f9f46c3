import QtQuick
import QtQuick.Controls
import Velk

// A picture at length: fitted to the view, zoomed with the wheel, a pinch or the keyboard, and moved by
// dragging while larger than the view. A sharper copy is asked for once the zoom outgrows the first.
Item {
    id: root

    required property var item
    // Fit times this.
    property real zoom: 1
    readonly property bool failed: base.status === Image.Error || (base.status === Image.Ready && base.implicitWidth <= 1)
    readonly property bool ready: base.status === Image.Ready && !failed

    // The first copy covers the view at fit: 1024 pixels do on a plain screen (the sheet is at most
    // 1000 wide) and cost a quarter of the decoding and copying of 2048. Two fixed sizes, so that
    // resizing does not load the picture again; the sharp copy takes over once zoomed past it.
    readonly property int firstPixels: Math.max(width, height) * Screen.devicePixelRatio <= 1024 ? 1024 : 2048
    readonly property size natural: Qt.size(base.implicitWidth, base.implicitHeight)
    readonly property real fit: natural.width > 1 ? Math.min(1, width / natural.width, height / natural.height) : 1
    readonly property real shownWidth: natural.width * fit * zoom
    readonly property real shownHeight: natural.height * fit * zoom

    function zoomBy(factor, px, py) {
        const next = Math.max(1, Math.min(8 / Math.max(fit, 0.05), zoom * factor))
        if (next === zoom)
            return
        // The point under the pointer (or the middle) stays where it is.
        const cx = px === undefined ? flick.width / 2 : px
        const cy = py === undefined ? flick.height / 2 : py
        const fx = (flick.contentX + cx - picture.x) / Math.max(1, picture.width)
        const fy = (flick.contentY + cy - picture.y) / Math.max(1, picture.height)
        zoom = next
        flick.returnToBounds()
        flick.contentX = Math.max(0, Math.min(flick.contentWidth - flick.width, picture.x + fx * picture.width - cx))
        flick.contentY = Math.max(0, Math.min(flick.contentHeight - flick.height, picture.y + fy * picture.height - cy))
    }
    function zoomIn() {
        zoomBy(1.25)
    }
    function zoomOut() {
        zoomBy(0.8)
    }
    function zoomToFit() {
        zoom = 1
    }

    Flickable {
        id: flick
        objectName: "pictureFlick"
        anchors.fill: parent
        clip: true
        contentWidth: Math.max(width, root.shownWidth)
        contentHeight: Math.max(height, root.shownHeight)
        interactive: root.zoom > 1
        boundsBehavior: Flickable.StopAtBounds

        // Where the picture lies in the content.
        Item {
            id: picture
            x: (flick.contentWidth - width) / 2
            y: (flick.contentHeight - height) / 2
            width: root.shownWidth
            height: root.shownHeight
        }

        Image {
            id: base
            objectName: "previewPicture"
            x: picture.x
            y: picture.y
            width: picture.width
            height: picture.height
            // Not before the view has its size, which chooses the copy.
            source: root.item && root.item.isValid && root.width > 0 ? ImageSources.preview(root.item.url, root.firstPixels) : ""
            asynchronous: true
            cache: false
            smooth: true
            mipmap: true
            visible: root.ready && !(sharp.status === Image.Ready && sharp.implicitWidth > 1)
        }

        Image {
            id: sharp
            x: picture.x
            y: picture.y
            width: picture.width
            height: picture.height
            // Only once more pixels would show than the first copy has.
            source: root.ready && root.shownWidth > base.implicitWidth * 1.2 && Math.max(base.implicitWidth, base.implicitHeight) >= root.firstPixels ? ImageSources.preview(root.item.url, 4096) : ""
            asynchronous: true
            cache: false
            smooth: true
            visible: status === Image.Ready && implicitWidth > 1
        }
    }

    BusyIndicator {
        anchors.centerIn: parent
        running: base.status === Image.Loading
        visible: running
    }

    WheelHandler {
        target: null
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        onWheel: event => root.zoomBy(Math.pow(1.0015, event.angleDelta.y), point.position.x, point.position.y)
    }

    PinchHandler {
        property real last: 1
        target: null
        onActiveChanged: last = 1
        onActiveScaleChanged: {
            root.zoomBy(activeScale / last, centroid.position.x, centroid.position.y)
            last = activeScale
        }
    }

    TapHandler {
        onDoubleTapped: root.zoom > 1 ? root.zoomToFit() : root.zoomBy(2, point.position.x, point.position.y)
    }
}
