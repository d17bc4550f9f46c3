import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The player at the foot of the sidebar: the track, its progress (a click or drag seeks), the times
// and the five controls.
Rectangle {
    id: root

    readonly property var track: Player.currentItem
    readonly property real fraction: Player.duration > 0 ? Math.min(1, Player.currentTime / Player.duration) : 0

    implicitHeight: column.implicitHeight + 24
    radius: 10
    color: "transparent"
    border.color: Qt.rgba(Theme.line.r, Theme.line.g, Theme.line.b, Theme.line.a * 0.5)
    border.width: 1

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: 12
        spacing: 8

        RowLayout {
            spacing: 10
            Rectangle {
                Layout.preferredWidth: 36
                Layout.preferredHeight: 36
                radius: 6
                color: Theme.fill
                clip: true
                Symbol {
                    anchors.centerIn: parent
                    name: "music.note"
                    size: 14
                    color: Theme.secondary
                }
                Image {
                    anchors.fill: parent
                    source: root.track.isValid ? ImageSources.thumbnail(root.track.url, 64) : ""
                    sourceSize.width: 72
                    sourceSize.height: 72
                    fillMode: Image.PreserveAspectCrop
                    asynchronous: true
                    visible: implicitWidth > 1
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 1
                Text {
                    Layout.fillWidth: true
                    text: root.track.isValid ? root.track.displayTitle : ""
                    elide: Text.ElideRight
                    font.pixelSize: 12
                    color: Theme.ink
                }
                Text {
                    Layout.fillWidth: true
                    text: root.track.isValid && root.track.artist !== "" ? root.track.artist : "Unknown Artist"
                    elide: Text.ElideRight
                    font.pixelSize: 11
                    color: Theme.secondary
                }
            }
        }

        Item {
            id: bar
            objectName: "playerProgress"
            Layout.fillWidth: true
            Layout.preferredHeight: 3
            Accessible.role: Accessible.Slider
            Accessible.name: "Position"

            Rectangle {
                anchors.fill: parent
                radius: 1.5
                color: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.1)
            }
            Rectangle {
                width: parent.width * root.fraction
                height: parent.height
                radius: 1.5
                color: Theme.ink
            }
            MouseArea {
                anchors.fill: parent
                anchors.topMargin: -5
                anchors.bottomMargin: -5
                function seekTo(x) {
                    if (Player.duration > 0)
                        Player.seek(Math.max(0, Math.min(1, x / bar.width)) * Player.duration)
                }
                onPressed: mouse => seekTo(mouse.x)
                onPositionChanged: mouse => seekTo(mouse.x)
            }
        }

        RowLayout {
            Text {
                text: Format.duration(Player.currentTime)
                font.pixelSize: 9
                color: Theme.secondary
            }
            Item {
                Layout.fillWidth: true
            }
            Text {
                text: Format.remaining(Player.currentTime, Player.duration)
                font.pixelSize: 9
                color: Theme.secondary
            }
        }

        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            spacing: 8
            SymbolButton {
                symbol: "shuffle"
                symbolSize: 12
                Layout.preferredWidth: 22
                Layout.preferredHeight: 22
                active: Player.shuffle
                toolTip: "Shuffle"
                onClicked: Player.shuffle = !Player.shuffle
            }
            SymbolButton {
                symbol: "backward.fill"
                symbolSize: 12
                Layout.preferredWidth: 22
                Layout.preferredHeight: 22
                toolTip: "Previous"
                onClicked: Player.previous()
            }
            SymbolButton {
                objectName: "playPauseButton"
                symbol: Player.isPlaying ? "pause.fill" : "play.fill"
                symbolSize: 13
                Layout.preferredWidth: 22
                Layout.preferredHeight: 22
                active: true
                toolTip: Player.isPlaying ? "Pause" : "Play"
                onClicked: Player.togglePlay()
            }
            SymbolButton {
                symbol: "forward.fill"
                symbolSize: 12
                Layout.preferredWidth: 22
                Layout.preferredHeight: 22
                toolTip: "Next"
                onClicked: Player.next()
            }
            SymbolButton {
                symbol: Player.repeatOne ? "repeat.1" : "repeat"
                symbolSize: 12
                Layout.preferredWidth: 22
                Layout.preferredHeight: 22
                active: Player.repeatOne
                toolTip: "Repeat One"
                onClicked: Player.repeatOne = !Player.repeatOne
            }
        }
    }
}
