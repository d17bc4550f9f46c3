import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk


// The left column: the logo, every destination with its live figure, the pinned folders, the places,
// and the mini player while something plays.
Rectangle {
    id: root

    color: Theme.bg

    SidebarModel {
        id: rows
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Item {
            Layout.fillWidth: true
            Layout.preferredHeight: 24 + 22 + 22

            WindowDragArea {
                anchors.fill: parent
            }
            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: 24
                anchors.rightMargin: 24
                anchors.topMargin: 22
                anchors.bottomMargin: 22
                spacing: 8

                VelkLogo {
                    size: 24
                }
                Text {
                    text: "Velk"
                    font.pixelSize: 19
                    font.weight: Font.Medium
                    color: Theme.ink
                }
                Item {
                    Layout.fillWidth: true
                }
                SymbolButton {
                    objectName: "hideSidebarButton"
                    symbol: "sidebar.left"
                    symbolSize: 14
                    Layout.preferredHeight: 24
                    toolTip: "Hide Sidebar"
                    onClicked: AppState.sidebarCollapsed = true
                }
            }
        }

        ListView {
            id: list
            objectName: "sidebarList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: rows
            boundsBehavior: Flickable.StopAtBounds
            leftMargin: 14
            rightMargin: 14
            bottomMargin: 16
            spacing: 2
            ScrollBar.vertical: ScrollBar {}

            delegate: Loader {
                id: rowLoader
                required property int index
                required property string rowKind
                required property string key
                required property string title
                required property string symbol
                required property var badge
                required property string detail
                required property bool selected
                required property bool starred
                required property url url
                required property bool pinned

                width: list.width - list.leftMargin - list.rightMargin
                sourceComponent: rowKind === "divider" ? dividerRow : rowKind === "heading" ? headingRow : rowKind === "gap" ? gapRow : destinationRow

                Component {
                    id: dividerRow
                    Item {
                        implicitHeight: 25
                        Rectangle {
                            anchors.verticalCenter: parent.verticalCenter
                            x: 10
                            width: parent.width - 20
                            height: 1
                            color: Theme.line
                        }
                    }
                }
                Component {
                    id: headingRow
                    Item {
                        implicitHeight: 26
                        Text {
                            anchors.bottom: parent.bottom
                            anchors.bottomMargin: 6
                            x: 12
                            text: rowLoader.title
                            font.pixelSize: 12
                            color: Theme.secondary
                        }
                    }
                }
                Component {
                    id: gapRow
                    Item {
                        implicitHeight: 10
                    }
                }
                Component {
                    id: destinationRow
                    SidebarRow {
                        objectName: "sidebarRow:" + rowLoader.title
                        title: rowLoader.title
                        symbol: rowLoader.symbol
                        badge: rowLoader.badge
                        detail: rowLoader.detail
                        selected: rowLoader.selected
                        starred: rowLoader.starred
                        folderUrl: rowLoader.rowKind === "folder" ? rowLoader.url : ""
                        onActivated: rows.activate(rowLoader.index)
                        onContextRequested: {
                            if (rowLoader.rowKind !== "folder")
                                return
                            folderMenu.row = rowLoader.index
                            folderMenu.pinned = rowLoader.pinned
                            folderMenu.popup()
                        }
                    }
                }
            }
        }

        MiniPlayer {
            objectName: "miniPlayer"
            Layout.fillWidth: true
            Layout.margins: 14
            visible: Player.currentItem.isValid
        }
    }

    Menu {
        id: folderMenu
        property int row: -1
        property bool pinned: false
        MenuItem {
            text: folderMenu.pinned ? "Remove from Favourites" : "Add to Favourites"
            onTriggered: rows.togglePin(folderMenu.row)
        }
        MenuItem {
            text: "Show in Files"
            onTriggered: rows.reveal(folderMenu.row)
        }
    }
}
