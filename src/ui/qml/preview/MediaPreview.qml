import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtMultimedia
import Velk

// A video or a song, played in place with simple controls: play and pause, the position, the volume.
// It plays at once when `autostarts` is set (the sheet) and never by itself otherwise (the inspector).
Item {
    id: root

    required property var item
    property bool autostarts: false
    property bool compact: false
    // Only a new file starts the player again, never the same file handed in anew.
    readonly property url url: item && item.isValid ? item.url : ""
    readonly property bool video: item && item.category === "videos"
    readonly property bool failed: player.error !== MediaPlayer.NoError
    readonly property bool playing: player.playbackState === MediaPlayer.PlayingState
    readonly property alias player: player

    function togglePlay() {
        if (root.playing)
            player.pause()
        else
            player.play()
    }

    MediaPlayer {
        id: player
        objectName: "previewPlayer"
        source: root.url
        audioOutput: AudioOutput {
            id: sound
            volume: 0.8
        }
        videoOutput: root.video ? output : null
    }

    onUrlChanged: {
        if (root.autostarts && root.url.toString() !== "")
            player.play()
    }
    Component.onCompleted: {
        if (root.autostarts && root.url.toString() !== "")
            player.play()
    }
    Component.onDestruction: player.stop()

    // A video plays on black, over a still of it that stands in until the first frame is drawn
    // (and wherever the renderer cannot draw video).
    Rectangle {
        anchors.fill: output
        visible: root.video
        color: "black"
        Image {
            anchors.fill: parent
            source: root.video && root.url.toString() !== "" ? ImageSources.thumbnail(root.url, 640) : ""
            sourceSize.width: 1280
            sourceSize.height: 1280
            fillMode: Image.PreserveAspectFit
            asynchronous: true
            cache: false
        }
    }

    VideoOutput {
        id: output
        anchors.fill: parent
        anchors.bottomMargin: controls.height + 8
        visible: root.video
        fillMode: VideoOutput.PreserveAspectFit
    }

    // A song shows its cover, or the drawing of one.
    Item {
        visible: !root.video
        anchors.fill: parent
        anchors.bottomMargin: controls.height + 8
        readonly property real side: Math.min(width, height) - 24

        PlaceholderCover {
            anchors.centerIn: parent
            width: parent.side
            height: parent.side
            item: root.item
            visible: cover.status !== Image.Ready || cover.implicitWidth <= 1
        }
        Image {
            id: cover
            anchors.centerIn: parent
            width: parent.side
            height: parent.side
            source: !root.video && root.item && root.item.isValid ? ImageSources.thumbnail(root.item.url, 640) : ""
            sourceSize.width: 1280
            sourceSize.height: 1280
            fillMode: Image.PreserveAspectFit
            asynchronous: true
            cache: false
            visible: status === Image.Ready && implicitWidth > 1
        }
    }

    RowLayout {
        id: controls
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: root.compact ? 4 : 12
        spacing: 10

        SymbolButton {
            objectName: "playButton"
            symbol: root.playing ? "pause.fill" : "play.fill"
            symbolSize: 14
            toolTip: root.playing ? "Pause" : "Play"
            onClicked: root.togglePlay()
        }
        Text {
            text: Format.duration(player.position / 1000)
            font.pixelSize: 11
            color: Theme.secondary
        }
        Slider {
            id: position
            objectName: "positionSlider"
            Layout.fillWidth: true
            from: 0
            to: Math.max(1, player.duration)
            value: player.position
            enabled: player.seekable
            Accessible.name: "Position"
            onMoved: player.position = value
        }
        Text {
            text: Format.duration(player.duration / 1000)
            font.pixelSize: 11
            color: Theme.secondary
        }
        Symbol {
            visible: !root.compact
            name: sound.volume > 0 ? "speaker.wave.2.fill" : "speaker.slash.fill"
            size: 13
            color: Theme.secondary
        }
        Slider {
            objectName: "volumeSlider"
            visible: !root.compact
            Layout.preferredWidth: 90
            from: 0
            to: 1
            value: sound.volume
            Accessible.name: "Volume"
            onMoved: sound.volume = value
        }
    }
}
