import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// Everything that could go, as cards, with what it would free and a word on where files go.
Flickable {
    id: root

    property string key
    objectName: "cleanupHubView"

    contentWidth: width
    contentHeight: column.implicitHeight + 28 + 40
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar {}

    CleanupCards {
        id: cleanup
    }

    ColumnLayout {
        id: column
        x: Theme.pad
        y: 28
        width: root.width - 2 * Theme.pad
        spacing: 6

        Text {
            objectName: "hubTitle"
            text: "Clean Up"
            font.pixelSize: 28
            font.weight: Font.DemiBold
            color: Theme.ink
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Text {
            objectName: "hubSubtitle"
            text: cleanup.hubSubtitle
            font.pixelSize: 13
            color: Theme.secondary
        }
        CleanupSection {
            Layout.fillWidth: true
            Layout.topMargin: 22
            showsHeader: false
        }
        RowLayout {
            Layout.topMargin: 26
            spacing: 6
            Symbol {
                name: "lock.shield"
                size: 12
                color: Theme.tertiary
            }
            Text {
                text: "Nothing is deleted without asking. Files go to the Trash, so you can always put them back."
                font.pixelSize: 11
                color: Theme.tertiary
            }
        }
    }
}
