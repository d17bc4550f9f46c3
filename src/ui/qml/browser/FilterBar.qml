import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The four filters and the order, each a pill with its menu. They act on the loaded list alone.
RowLayout {
    id: root

    required property BrowserSource source
    required property BrowserModel model

    readonly property var dateTitles: ({ "any": "Any", "today": "Today", "week": "Past Week", "month": "Past Month", "year": "Past Year" })
    readonly property var sizeTitles: ({ "any": "Any", "mb1": "Over 1 MB", "mb10": "Over 10 MB", "mb100": "Over 100 MB", "gb1": "Over 1 GB" })
    readonly property var sortTitles: ({ "name": "Name", "date": "Date Modified", "size": "Size", "kind": "Kind" })
    readonly property var kindTitles: ({ "images": "Images", "videos": "Videos", "music": "Music", "documents": "Documents", "archives": "Archives", "apps": "Apps", "code": "Code", "folders": "Folders", "other": "Other" })

    spacing: 8

    FilterPill {
        objectName: "filterPill:From"
        visible: root.model.sources.length > 0
        label: "From"
        value: AppState.sourceFilter !== "" ? AppState.sourceFilter : "Anywhere"
        active: AppState.sourceFilter !== ""

        MenuItem {
            text: "Anywhere"
            onTriggered: AppState.sourceFilter = ""
        }
        MenuSeparator {}
        Repeater {
            model: root.model.sources
            // Each site with the badge the sources screens give it.
            delegate: MenuItem {
                id: sourceItem
                required property var modelData
                text: modelData.name + "  (" + Format.count(modelData.count) + ")"
                onTriggered: AppState.sourceFilter = modelData.name
                contentItem: RowLayout {
                    spacing: 8
                    SourceBadge {
                        name: sourceItem.modelData.name
                        symbol: sourceItem.modelData.symbol
                        size: 18
                    }
                    Text {
                        Layout.fillWidth: true
                        text: sourceItem.text
                        font.pixelSize: 13
                        color: Theme.ink
                        elide: Text.ElideRight
                    }
                }
            }
        }
    }

    FilterPill {
        objectName: "filterPill:Kind"
        visible: root.source.showsKindFilter
        label: "Kind"
        value: AppState.kindFilter !== "" ? root.kindTitles[AppState.kindFilter] : "All"
        active: AppState.kindFilter !== ""

        MenuItem {
            text: "All"
            onTriggered: AppState.kindFilter = ""
        }
        MenuSeparator {}
        Repeater {
            model: root.model.kinds
            delegate: MenuItem {
                required property var modelData
                text: modelData.title + "  (" + Format.count(modelData.count) + ")"
                onTriggered: AppState.kindFilter = modelData.raw
            }
        }
    }

    FilterPill {
        objectName: "filterPill:Date"
        label: "Date"
        value: root.dateTitles[AppState.dateFilter]
        active: AppState.dateFilter !== "any"

        Repeater {
            model: ["any", "today", "week", "month", "year"]
            delegate: MenuItem {
                required property string modelData
                text: root.dateTitles[modelData]
                checkable: true
                checked: AppState.dateFilter === modelData
                onTriggered: AppState.dateFilter = modelData
            }
        }
    }

    FilterPill {
        objectName: "filterPill:Size"
        label: "Size"
        value: root.sizeTitles[AppState.sizeFilter]
        active: AppState.sizeFilter !== "any"

        Repeater {
            model: ["any", "mb1", "mb10", "mb100", "gb1"]
            delegate: MenuItem {
                required property string modelData
                text: root.sizeTitles[modelData]
                checkable: true
                checked: AppState.sizeFilter === modelData
                onTriggered: AppState.sizeFilter = modelData
            }
        }
    }

    FilterPill {
        objectName: "filterPill:Sort"
        label: "Sort"
        value: root.sortTitles[AppState.sortKey]
        active: false

        Repeater {
            model: ["name", "date", "size", "kind"]
            delegate: MenuItem {
                required property string modelData
                text: root.sortTitles[modelData]
                icon.source: AppState.sortKey === modelData ? Symbols.source(AppState.ascending ? "arrow.up" : "arrow.down") : ""
                onTriggered: root.model.setSort(modelData)
            }
        }
    }
}
