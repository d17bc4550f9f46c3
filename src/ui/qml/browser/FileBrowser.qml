import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk


// The one list-and-grid screen every list of files goes through. The rows (section titles, rows of
// cards, list rows, the note) come from BrowserModel; this file only lays them out and passes the
// keyboard and mouse on.
FocusScope {
    id: root
    objectName: "fileBrowser"

    required property BrowserSource source
    property Component accessory: null
    readonly property alias model: rows

    function takeFocus() {
        list.forceActiveFocus()
    }
    function openContextMenu(item) {
        contextMenu.openFor(item)
    }
    // For the snapshot of an open menu: the file menu of the n-th item on screen.
    function openContextMenuAt(n) {
        const item = rows.itemAt(Number(n))
        if (item && item.isValid)
            contextMenu.openFor(item)
    }

    BrowserModel {
        id: rows
        source: root.source
        width: list.width
        onScrollToRow: row => list.positionViewAtIndex(row, ListView.Contain)
    }

    FileContextMenu {
        id: contextMenu
        browser: root
    }

    ListView {
        id: list
        objectName: "browserList"
        anchors.fill: parent
        focus: true
        clip: true
        model: rows
        reuseItems: true
        cacheBuffer: 400
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        activeFocusOnTab: true
        ScrollBar.vertical: ScrollBar {}

        Keys.onPressed: event => {
            if (event.modifiers & (Qt.ControlModifier | Qt.AltModifier))
                return
            event.accepted = rows.keyPressed(event.key)
        }

        header: Item {
            width: list.width
            height: headerColumn.implicitHeight + 28 + 28
            ColumnLayout {
                id: headerColumn
                x: Theme.pad
                y: 28
                width: list.width - 2 * Theme.pad
                spacing: 14
                BrowserHeader {
                    Layout.fillWidth: true
                    source: root.source
                    model: root.model
                }
                Loader {
                    Layout.fillWidth: true
                    active: root.accessory !== null
                    visible: active
                    sourceComponent: root.accessory
                }
            }
        }

        footer: Item {
            width: list.width
            height: rows.contentState === "list" ? 40 : Math.max(320, list.height - (list.headerItem ? list.headerItem.height : 0))
            Loader {
                anchors.fill: parent
                anchors.leftMargin: Theme.pad
                anchors.rightMargin: Theme.pad
                active: rows.contentState !== "list"
                sourceComponent: rows.contentState === "loading" ? loadingState : emptyState
            }
        }

        delegate: Loader {
            id: rowLoader
            required property string rowKind
            required property var items
            required property int firstIndex
            required property string title
            required property var count
            required property bool loading
            required property string text

            x: Theme.pad
            width: list.width - 2 * Theme.pad
            sourceComponent: rowKind === "title" ? titleRow : rowKind === "note" ? noteRow : rowKind === "fileRow" ? listRow : cardRow

            Component {
                id: titleRow
                Item {
                    implicitHeight: sectionTitle.implicitHeight + 16 + (rowLoader.firstIndex > 0 ? 28 : 0)
                    SectionTitle {
                        id: sectionTitle
                        anchors.top: parent.top
                        anchors.topMargin: rowLoader.firstIndex > 0 ? 28 : 0
                        title: rowLoader.title
                        count: rowLoader.count
                        loading: rowLoader.loading
                    }
                    implicitWidth: sectionTitle.implicitWidth
                }
            }
            Component {
                id: noteRow
                Text {
                    topPadding: 16
                    text: rowLoader.text
                    wrapMode: Text.WordWrap
                    font.pixelSize: 11
                    color: Theme.tertiary
                }
            }
            Component {
                id: listRow
                Item {
                    implicitHeight: 54
                    FileRow {
                        width: parent.width
                        item: rowLoader.items[0]
                        browser: root
                        isSelected: AppState.selectedFiles.indexOf(item.url) >= 0
                        isPlaying: Player.currentItem.isValid && Player.currentItem.url === item.url
                    }
                }
            }
            Component {
                id: cardRow
                Item {
                    id: cells
                    readonly property real cellWidth: (width - (rows.columns - 1) * Theme.spacing) / rows.columns
                    implicitHeight: rowLoader.rowKind === "folders" ? 162 + Theme.spacing : cellWidth * 0.75 + 52 + Theme.spacing + 4
                    Repeater {
                        model: rowLoader.items
                        delegate: Loader {
                            required property var modelData
                            required property int index
                            x: index * (cells.cellWidth + Theme.spacing)
                            width: cells.cellWidth
                            sourceComponent: rowLoader.rowKind === "folders" ? folderCell : fileCell
                            Component {
                                id: folderCell
                                FolderItemCard {
                                    url: modelData.url
                                    item: modelData
                                    browser: root
                                    isSelected: AppState.selectedFiles.indexOf(modelData.url) >= 0
                                }
                            }
                            Component {
                                id: fileCell
                                GalleryCard {
                                    item: modelData
                                    browser: root
                                    isSelected: AppState.selectedFiles.indexOf(modelData.url) >= 0
                                    isPlaying: Player.currentItem.isValid && Player.currentItem.url === modelData.url
                                }
                            }
                        }
                    }
                }
            }
        }

        // A click on empty space clears the marks and gives the list the keyboard.
        TapHandler {
            onTapped: {
                rows.clickedEmpty()
                list.forceActiveFocus()
            }
        }
    }

    Component {
        id: loadingState
        Item {
            RowLayout {
                anchors.centerIn: parent
                spacing: 10
                BusyIndicator {
                    running: true
                    implicitWidth: 20
                    implicitHeight: 20
                }
                Text {
                    text: "Looking through your computer…"
                    font.pixelSize: 13
                    color: Theme.secondary
                }
            }
        }
    }
    Component {
        id: emptyState
        EmptyState {
            objectName: "emptyState"
            title: rows.emptyTitle
            symbol: rows.emptySymbol
            message: rows.emptyMessage
        }
    }
}
