import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

pragma ComponentBehavior: Bound

// The sources downloads came from, as cards; nothing at all while there are none.
ColumnLayout {
    id: root

    property int limit: -1
    property bool showsHeader: true
    objectName: "sourcesSection"
    spacing: 16
    visible: sources.cards.length > 0

    readonly property int columns: Math.max(1, Math.floor((width + 16) / (200 + 16)))
    readonly property real cellWidth: (width - (columns - 1) * 16) / columns

    SourceCards {
        id: sources
        limit: root.limit
    }

    RowLayout {
        visible: root.showsHeader
        Layout.fillWidth: true
        SectionTitle {
            title: "Downloaded From"
        }
        Item {
            Layout.fillWidth: true
        }
        Button {
            text: "See all"
            flat: true
            font.pixelSize: 12
            icon.source: Symbols.source("arrow.right")
            icon.width: 10
            icon.height: 10
            LayoutMirroring.enabled: true
            Accessible.name: "See all download sources"
            onClicked: AppState.selectKey("sources")
        }
    }

    Flow {
        Layout.fillWidth: true
        spacing: 16
        Repeater {
            model: sources.cards
            delegate: SourceCard {
                required property var modelData
                objectName: "sourceCard:" + modelData.name
                width: root.cellWidth
                name: modelData.name
                symbol: modelData.symbol
                detail: modelData.detail
                onClicked: AppState.selectKey(modelData.key)
            }
        }
    }
}
