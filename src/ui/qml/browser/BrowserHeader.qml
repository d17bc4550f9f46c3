import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The browser's heading row: back, the title and subtitle, the filters and the view mode. The title
// and subtitle keep their room first: when both do not fit, the controls move to a line of their own.
GridLayout {
    id: root

    required property BrowserSource source
    required property BrowserModel model

    readonly property bool fits: Math.max(titleText.implicitWidth, subtitleText.visible ? subtitleText.implicitWidth : 0) + (root.source.hasBack ? 48 : 0) + controls.implicitWidth + 16 + 14 <= width
    columns: fits ? 4 : 2
    columnSpacing: 14
    rowSpacing: 12

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
            id: titleText
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
            id: subtitleText
            objectName: "browserSubtitle"
            Layout.fillWidth: true
            visible: root.source.subtitle !== ""
            text: root.source.subtitle
            elide: Text.ElideMiddle
            font.pixelSize: 12
            color: Theme.secondary
        }
    }

    RowLayout {
        id: controls
        Layout.columnSpan: root.fits ? 1 : 2
        Layout.alignment: root.fits ? Qt.AlignRight | Qt.AlignVCenter : Qt.AlignLeft
        spacing: 14
        FilterBar {
            source: root.source
            model: root.model
        }
        ViewModeToggle {}
    }
}
