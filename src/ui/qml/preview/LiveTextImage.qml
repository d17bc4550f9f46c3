import QtQuick
import QtQuick.Controls
import Velk

// A picture whose words can be selected and copied: the words the text recogniser found lie as an
// invisible layer over the picture at its shown scale. A drag selects in reading order, a double click
// a word, a triple click its line; Ctrl+C and the context menu copy.
FocusScope {
    id: root

    property url url
    readonly property alias words: words
    // The picture's place inside this item.
    readonly property real shownX: (width - picture.paintedWidth) / 2
    readonly property real shownY: (height - picture.paintedHeight) / 2

    function copy() {
        if (words.copySelection())
            AppState.showToast("Copied text", "doc.on.clipboard")
    }
    // Normalised picture coordinates of a point in this item.
    function toPicture(x, y) {
        return Qt.point((x - shownX) / Math.max(1, picture.paintedWidth), (y - shownY) / Math.max(1, picture.paintedHeight))
    }

    activeFocusOnTab: true
    focus: true
    Accessible.role: Accessible.Graphic
    Accessible.name: words.status === LiveTextModel.Ready ? "Picture with selectable text" : "Picture"

    LiveTextModel {
        id: words
        // A file that is gone shows nothing and reads nothing.
        url: root.url
    }

    Image {
        id: picture
        objectName: "liveTextPicture"
        anchors.fill: parent
        source: root.url.toString() !== "" ? ImageSources.preview(root.url, 2048) : ""
        fillMode: Image.PreserveAspectFit
        asynchronous: true
        cache: false
        smooth: true
        mipmap: true
    }

    // Every word, faintly marked so that a person sees what can be selected; the selected ones filled.
    Repeater {
        model: picture.status === Image.Ready ? words : null
        delegate: Rectangle {
            required property rect box
            required property bool selected
            x: root.shownX + box.x * picture.paintedWidth - 2
            y: root.shownY + box.y * picture.paintedHeight - 2
            width: box.width * picture.paintedWidth + 4
            height: box.height * picture.paintedHeight + 4
            radius: 3
            color: selected ? Qt.rgba(0.2, 0.48, 1, 0.38) : Qt.rgba(1, 1, 1, 0.06)
            border.color: selected ? "transparent" : Qt.rgba(0.2, 0.48, 1, 0.22)
            border.width: 1
        }
    }

    BusyIndicator {
        objectName: "liveTextBusy"
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        running: words.status === LiveTextModel.Reading
        visible: running
    }

    MouseArea {
        id: mouse
        objectName: "liveTextArea"
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        cursorShape: words.count > 0 ? Qt.IBeamCursor : Qt.ArrowCursor
        property int anchorWord: -1
        property int clicks: 0
        property double lastRelease: 0

        Timer {
            id: multiClick
            interval: Qt.styleHints.mouseDoubleClickInterval
        }

        onPressed: mouse => {
            root.forceActiveFocus()
            if (mouse.button === Qt.RightButton)
                return
            const p = root.toPicture(mouse.x, mouse.y)
            // A press soon after a double click is the third of a triple click.
            if (clicks === 2 && multiClick.running) {
                const hit = words.wordAt(p.x, p.y)
                if (hit >= 0)
                    words.selectLine(hit)
                clicks = 3
                anchorWord = -1
                return
            }
            clicks = 1
            anchorWord = words.nearestWord(p.x, p.y)
            words.clearSelection()
        }
        onPositionChanged: mouse => {
            if (anchorWord < 0 || !(mouse.buttons & Qt.LeftButton))
                return
            const p = root.toPicture(mouse.x, mouse.y)
            const current = words.nearestWord(p.x, p.y)
            if (current >= 0)
                words.select(anchorWord, current)
        }
        onDoubleClicked: mouse => {
            const p = root.toPicture(mouse.x, mouse.y)
            const hit = words.wordAt(p.x, p.y)
            if (hit >= 0)
                words.selectWord(hit)
            clicks = 2
            anchorWord = -1
            multiClick.restart()
        }
        onClicked: mouse => {
            if (mouse.button === Qt.RightButton) {
                menu.popup()
                return
            }
        }
    }

    Keys.onPressed: event => {
        if (event.matches(StandardKey.Copy)) {
            root.copy()
            event.accepted = true
        } else if (event.matches(StandardKey.SelectAll)) {
            words.selectAll()
            event.accepted = true
        }
    }

    Menu {
        id: menu
        MenuItem {
            text: "Copy"
            enabled: words.hasSelection
            onTriggered: root.copy()
        }
        MenuItem {
            text: "Select All"
            enabled: words.count > 0
            onTriggered: words.selectAll()
        }
    }
}
