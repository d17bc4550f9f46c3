import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// A section's heading: the title, its count, and a small spinner while it loads.
RowLayout {
    id: root

    property string title
    property var count: -1
    property bool loading: false

    spacing: 8
    Accessible.role: Accessible.Heading
    Accessible.name: title

    Text {
        text: root.title
        font.pixelSize: 17
        font.weight: Font.DemiBold
        color: Theme.ink
    }
    Text {
        visible: root.count !== undefined && root.count !== null && root.count >= 0
        text: visible ? Format.count(root.count) : ""
        font.pixelSize: 15
        color: Theme.tertiary
    }
    BusyIndicator {
        visible: root.loading
        running: root.loading
        implicitWidth: 16
        implicitHeight: 16
    }
}
