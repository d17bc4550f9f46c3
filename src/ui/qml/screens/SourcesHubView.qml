import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// Every source downloads came from, as cards.
Flickable {
    id: root

    property string key
    objectName: "sourcesHubView"

    contentWidth: width
    contentHeight: Math.max(height, column.implicitHeight + 28 + 40)
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar {}

    SourceCards {
        id: sources
        Component.onCompleted: load()
    }

    ColumnLayout {
        id: column
        x: Theme.pad
        y: 28
        width: root.width - 2 * Theme.pad
        spacing: 6

        Text {
            text: "Downloaded From"
            font.pixelSize: 28
            font.weight: Font.DemiBold
            color: Theme.ink
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Text {
            objectName: "sourcesSummary"
            text: sources.summary
            font.pixelSize: 13
            color: Theme.secondary
        }
        SourcesSection {
            Layout.fillWidth: true
            Layout.topMargin: 22
            showsHeader: false
        }
        EmptyState {
            objectName: "sourcesEmpty"
            visible: sources.hasLoaded && sources.cards.length === 0
            Layout.fillWidth: true
            Layout.preferredHeight: Math.max(320, root.height - 160)
            title: "No Downloads Found"
            symbol: "arrow.down.circle"
            message: "Files you download in a browser remember where they came from. None were found in your home folders."
        }
    }
}
