import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// One clean-up card: the kind's symbol and a few of its files, its title, what it would free and how
// many files it holds. It lifts a little under the pointer.
Item {
    id: root

    property string symbol
    property color tint: Theme.ink
    property string title
    property string headline
    property string detail
    property var previews: []
    property bool busy
    readonly property bool hovering: hover.hovered

    signal clicked

    implicitHeight: content.implicitHeight + 32
    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.description: headline + ", " + detail
    Accessible.onPressAction: root.clicked()

    HoverHandler {
        id: hover
        cursorShape: Qt.PointingHandCursor
    }
    TapHandler {
        onTapped: root.clicked()
    }

    // The shadow: a darker card just below, deeper under the pointer.
    Rectangle {
        anchors.fill: card
        anchors.topMargin: root.hovering ? 6 : 3
        anchors.bottomMargin: root.hovering ? -6 : -3
        radius: 18
        color: Qt.rgba(0, 0, 0, Theme.dark ? (root.hovering ? 0.35 : 0.22) : (root.hovering ? 0.1 : 0.05))
    }

    Rectangle {
        id: card
        width: parent.width
        height: parent.height
        y: root.hovering ? -2 : 0
        radius: 18
        color: Theme.card
        border.color: Qt.rgba(root.tint.r, root.tint.g, root.tint.b, 0.22)
        border.width: 1
        Behavior on y {
            NumberAnimation {
                duration: 120
            }
        }

        Rectangle {
            anchors.fill: parent
            radius: 18
            gradient: Gradient {
                GradientStop {
                    position: 0
                    color: Qt.rgba(root.tint.r, root.tint.g, root.tint.b, 0.14)
                }
                GradientStop {
                    position: 1
                    color: Qt.rgba(root.tint.r, root.tint.g, root.tint.b, 0.06)
                }
            }
        }

        ColumnLayout {
            id: content
            anchors.fill: parent
            anchors.margins: 16
            spacing: 4

            RowLayout {
                Layout.fillWidth: true
                Layout.preferredHeight: 72
                Rectangle {
                    Layout.alignment: Qt.AlignTop
                    width: 36
                    height: 36
                    radius: 18
                    color: Qt.rgba(root.tint.r, root.tint.g, root.tint.b, 0.22)
                    Symbol {
                        anchors.centerIn: parent
                        name: root.symbol
                        size: 17
                        color: root.tint
                    }
                }
                Item {
                    Layout.fillWidth: true
                }
                BusyIndicator {
                    visible: root.busy
                    running: root.busy
                    implicitWidth: 20
                    implicitHeight: 20
                    Layout.alignment: Qt.AlignTop
                }
                PreviewStack {
                    visible: !root.busy && root.previews.length > 0
                    items: root.previews
                    tint: root.tint
                }
            }
            Text {
                Layout.fillWidth: true
                Layout.topMargin: 6
                text: root.title
                elide: Text.ElideRight
                font.pixelSize: 13
                color: Theme.secondary
            }
            Text {
                objectName: "suggestionHeadline"
                Layout.fillWidth: true
                text: root.headline
                elide: Text.ElideRight
                font.pixelSize: 20
                font.weight: Font.Bold
                color: Theme.ink
            }
            Text {
                Layout.fillWidth: true
                text: root.detail
                elide: Text.ElideRight
                font.pixelSize: 12
                color: Theme.secondary
            }
        }
    }
}
