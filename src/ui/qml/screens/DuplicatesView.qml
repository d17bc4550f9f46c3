import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk


// Identical copies and look-alike photos: the panel of the tab's scan, then the groups, sixty at a
// time, each with the copy to keep marked.
Item {
    id: root

    property string key
    objectName: "duplicatesView"

    // For the snapshots and the keyboard: the tab on show, "exact" or "similar".
    property alias tab: groups.tab
    function showTab(name) {
        groups.tab = name
    }

    DuplicatesModel {
        id: groups
    }
    Component.onCompleted: groups.opened()

    ListView {
        id: list
        objectName: "duplicateGroups"
        anchors.fill: parent
        clip: true
        model: groups
        spacing: 18
        reuseItems: true
        cacheBuffer: 600
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        header: Item {
            width: list.width
            height: headerColumn.implicitHeight + 28 + 18
            // The panel changes its height with the phase; a list at its top stays there.
            onHeightChanged: {
                if (!list.moving && list.contentY - list.originY < 60)
                    Qt.callLater(list.positionViewAtBeginning)
            }
            ColumnLayout {
                id: headerColumn
                x: Theme.pad
                y: 28
                width: list.width - 2 * Theme.pad
                spacing: 6

                Text {
                    text: "Duplicates"
                    font.pixelSize: 28
                    font.weight: Font.DemiBold
                    color: Theme.ink
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                Text {
                    text: "Identical copies and look-alike photos across your home folders"
                    font.pixelSize: 13
                    color: Theme.secondary
                }
                // The segmented choice of the tab.
                Rectangle {
                    objectName: "duplicateTabs"
                    Layout.topMargin: 14
                    implicitWidth: tabRow.implicitWidth + 6
                    implicitHeight: 32
                    radius: 9
                    color: Theme.fill
                    border.color: Theme.line
                    border.width: 1
                    Accessible.role: Accessible.PageTabList
                    Accessible.name: "Kind of duplicates"
                    Row {
                        id: tabRow
                        anchors.centerIn: parent
                        spacing: 2
                        Repeater {
                            model: [{
                                    "key": "exact",
                                    "title": "Exact Copies"
                                }, {
                                    "key": "similar",
                                    "title": "Similar Photos"
                                }]
                            delegate: AbstractButton {
                                id: tabButton
                                required property var modelData
                                readonly property bool current: groups.tab === modelData.key
                                objectName: "tab:" + modelData.key
                                width: 150
                                height: 26
                                text: modelData.title
                                checkable: true
                                checked: current
                                Accessible.role: Accessible.PageTab
                                Accessible.name: text
                                onClicked: groups.tab = modelData.key
                                background: Rectangle {
                                    radius: 7
                                    color: tabButton.current ? Theme.card : "transparent"
                                    border.color: tabButton.current ? Theme.line : "transparent"
                                    border.width: 1
                                }
                                contentItem: Text {
                                    text: tabButton.text
                                    horizontalAlignment: Text.AlignHCenter
                                    verticalAlignment: Text.AlignVCenter
                                    font.pixelSize: 12
                                    font.weight: tabButton.current ? Font.DemiBold : Font.Normal
                                    color: tabButton.current ? Theme.ink : Theme.secondary
                                }
                            }
                        }
                    }
                }

                // The panel of the tab, by the phase of its scan.
                Rectangle {
                    objectName: "duplicatesHero"
                    Layout.fillWidth: true
                    Layout.topMargin: 12
                    implicitHeight: hero.implicitHeight + 48
                    radius: 18
                    color: Qt.rgba(0.93, 0.35, 0.4, 0.07)
                    border.color: Qt.rgba(0.93, 0.35, 0.4, 0.18)
                    border.width: 1

                    ColumnLayout {
                        id: hero
                        anchors.centerIn: parent
                        width: parent.width - 48
                        spacing: 8
                        Symbol {
                            Layout.alignment: Qt.AlignHCenter
                            name: "square.on.square"
                            size: 30
                            color: Qt.rgba(0.93, 0.35, 0.4, 1)
                        }
                        Text {
                            objectName: "heroHeadline"
                            Layout.alignment: Qt.AlignHCenter
                            text: groups.headline
                            font.pixelSize: groups.freeUp ? 34 : 26
                            font.weight: groups.freeUp ? Font.Bold : Font.DemiBold
                            color: Theme.ink
                        }
                        ProgressBar {
                            id: progressBar
                            objectName: "heroProgress"
                            visible: groups.showsProgress
                            Layout.alignment: Qt.AlignHCenter
                            Layout.preferredWidth: Math.min(360, hero.width)
                            from: 0
                            to: 1
                            value: groups.progress
                            background: Rectangle {
                                implicitHeight: 6
                                radius: 3
                                color: Theme.line
                            }
                            contentItem: Item {
                                implicitHeight: 6
                                Rectangle {
                                    width: progressBar.visualPosition * parent.width
                                    height: parent.height
                                    radius: 3
                                    color: Qt.rgba(0.93, 0.35, 0.4, 1)
                                }
                            }
                        }
                        Text {
                            objectName: "heroDetail"
                            Layout.alignment: Qt.AlignHCenter
                            Layout.maximumWidth: hero.width
                            horizontalAlignment: Text.AlignHCenter
                            wrapMode: Text.WordWrap
                            text: groups.detail
                            font.pixelSize: 13
                            color: Theme.secondary
                        }
                        RowLayout {
                            Layout.alignment: Qt.AlignHCenter
                            Layout.topMargin: 6
                            spacing: 10
                            visible: groups.canStart || groups.canScanAgain || groups.canTrashAll
                            Button {
                                id: trashAllButton
                                objectName: "trashAllExtras"
                                Accessible.name: text
                                visible: groups.canTrashAll
                                text: "Trash All Extras"
                                font.weight: Font.DemiBold
                                icon.source: Symbols.source("trash")
                                icon.width: 13
                                icon.height: 13
                                icon.color: "white"
                                palette.buttonText: "white"
                                background: Rectangle {
                                    implicitHeight: 32
                                    radius: 8
                                    color: trashAllButton.down ? Qt.darker(Theme.red, 1.2) : Theme.red
                                }
                                onClicked: confirm.open()
                            }
                            Button {
                                objectName: "scanButton"
                                Accessible.name: text
                                visible: groups.canStart || groups.canScanAgain
                                text: groups.canStart ? "Start Scan" : "Scan Again"
                                icon.source: Symbols.source("arrow.clockwise")
                                icon.width: 13
                                icon.height: 13
                                onClicked: groups.scan()
                            }
                        }
                    }
                }
            }
        }

        delegate: DuplicateGroupCard {
            x: Theme.pad
            width: list.width - 2 * Theme.pad
            isSimilar: groups.tab === "similar"
            busy: groups.trashing
            onKeep: file => groups.keep(groupId, file)
            onTrash: groups.trashGroup(groupId)
            onPreview: file => groups.preview(groupId, file)
            onReveal: file => groups.reveal(groupId, file)
        }

        footer: Item {
            width: list.width
            height: groups.hiddenCount > 0 ? 80 : 40
            Button {
                objectName: "showMoreButton"
                Accessible.name: text
                anchors.centerIn: parent
                visible: groups.hiddenCount > 0
                text: groups.showMoreText
                onClicked: groups.showMore()
            }
        }
    }

    ConfirmDialog {
        id: confirm
        title: groups.confirmTitle
        confirmText: groups.confirmButton
        message: "One copy of each file is kept (marked “Keep”). You can restore anything from the Trash."
        onConfirmed: groups.trashAll()
    }
}
