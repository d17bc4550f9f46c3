import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// One destination or folder of the sidebar: the whole rounded area is the button.
Rectangle {
    id: root

    property string title
    property string symbol
    property var badge: -1
    property string detail
    property bool selected
    property bool starred
    property url folderUrl

    signal activated
    signal contextRequested

    implicitHeight: 36
    radius: 10
    color: selected ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.06) : hover.hovered ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.03) : "transparent"

    Accessible.role: Accessible.Button
    Accessible.name: title + (detail !== "" ? ", " + detail : badge > 0 ? ", " + badge : "")
    Accessible.onPressAction: root.activated()

    HoverHandler {
        id: hover
    }
    TapHandler {
        onTapped: root.activated()
    }
    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: root.contextRequested()
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        spacing: 12

        Item {
            Layout.preferredWidth: 20
            Layout.preferredHeight: 20
            Symbol {
                anchors.centerIn: parent
                visible: root.folderUrl.toString() === ""
                name: root.symbol
                size: 14
                color: root.selected ? Theme.ink : Theme.secondary
            }
            Rectangle {
                anchors.fill: parent
                visible: root.folderUrl.toString() !== ""
                radius: 6
                color: "transparent"
                clip: true
                Image {
                    anchors.fill: parent
                    anchors.margins: 2
                    source: root.folderUrl.toString() !== "" ? ImageSources.icon(root.folderUrl) : ""
                    sourceSize.width: 40
                    sourceSize.height: 40
                    asynchronous: true
                    fillMode: Image.PreserveAspectFit
                }
            }
        }
        Text {
            Layout.fillWidth: true
            text: root.title
            elide: Text.ElideRight
            font.pixelSize: 13
            font.weight: root.selected ? Font.Medium : Font.Normal
            color: Theme.ink
        }
        Text {
            visible: root.detail !== ""
            text: root.detail
            font.pixelSize: 11
            font.weight: Font.Medium
            color: Theme.green
        }
        Text {
            visible: root.detail === "" && root.badge > 0
            text: root.badge > 0 ? Number(root.badge).toLocaleString(Qt.locale(), "f", 0) : ""
            font.pixelSize: 11
            color: Theme.tertiary
            Layout.minimumWidth: 22
            horizontalAlignment: Text.AlignRight
        }
        Symbol {
            visible: root.starred
            name: "star.fill"
            size: 11
            color: Theme.star
        }
    }
}
