import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The browser's heading row: back, the title and subtitle, the filters and the view mode.
RowLayout {
    id: root

    required property BrowserSource source
    required property BrowserModel model

    spacing: 14

    SymbolButton {
        objectName: "backButton"
        visible: root.source.hasBack
        Layout.preferredWidth: 34
        Layout.preferredHeight: 34
        symbol: "chevron.left"
        symbolSize: 12
        round: true
        toolTip: "Back"
        onClicked: root.source.back()
    }

    ColumnLayout {
        Layout.fillWidth: true
        Layout.minimumWidth: 160
        spacing: 4
        Text {
            objectName: "browserTitle"
            Layout.fillWidth: true
            text: root.source.title
            elide: Text.ElideMiddle
            maximumLineCount: 1
            font.pixelSize: 28
            color: Theme.ink
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Text {
            objectName: "browserSubtitle"
            Layout.fillWidth: true
            visible: root.source.subtitle !== ""
            text: root.source.subtitle
            elide: Text.ElideMiddle
            font.pixelSize: 12
            color: Theme.secondary
        }
    }

    Item {
        Layout.minimumWidth: 16
    }

    FilterBar {
        source: root.source
        model: root.model
    }
    ViewModeToggle {}
}
