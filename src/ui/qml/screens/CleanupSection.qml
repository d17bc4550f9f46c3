import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

pragma ComponentBehavior: Bound

// The clean-up cards: duplicates first, then each kind of suggestion that found something.
ColumnLayout {
    id: root

    property bool showsHeader: true
    objectName: "cleanupSection"
    spacing: 16

    readonly property int columns: Math.max(1, Math.floor((width + 22) / (240 + 22)))
    readonly property real cellWidth: (width - (columns - 1) * 22) / columns

    CleanupCards {
        id: cleanup
    }

    RowLayout {
        visible: root.showsHeader
        Layout.fillWidth: true
        spacing: 10
        Text {
            text: "Clean Up"
            font.pixelSize: 19
            font.weight: Font.DemiBold
            color: Theme.ink
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Rectangle {
            objectName: "cleanupCapsule"
            visible: cleanup.capsule !== ""
            implicitWidth: capsuleText.implicitWidth + 16
            implicitHeight: 22
            radius: 11
            color: Qt.rgba(Theme.green.r, Theme.green.g, Theme.green.b, 0.16)
            Text {
                id: capsuleText
                anchors.centerIn: parent
                text: cleanup.capsule
                font.pixelSize: 11
                font.weight: Font.DemiBold
                color: Theme.green
            }
        }
        BusyIndicator {
            visible: cleanup.showsSpinner
            running: visible
            implicitWidth: 16
            implicitHeight: 16
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
            Accessible.name: "See all clean-up suggestions"
            onClicked: AppState.selectKey("cleanupHub")
        }
    }

    Flow {
        Layout.fillWidth: true
        spacing: 22
        Repeater {
            model: cleanup.cards
            delegate: SuggestionCard {
                required property var modelData
                objectName: "suggestion:" + modelData.key
                width: root.cellWidth
                symbol: modelData.symbol
                tint: modelData.tint
                title: modelData.title
                headline: modelData.headline
                detail: modelData.detail
                previews: modelData.previews
                busy: modelData.busy
                onClicked: AppState.selectKey(modelData.key)
            }
        }
    }
}
