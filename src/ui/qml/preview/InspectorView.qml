import QtQuick
import QtQuick.Layouts
import Velk

// The column at the right that shows the focused file at length.
Item {
    id: root

    readonly property var focused: AppState.focusedItem

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.preferredHeight: 72
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            spacing: 8

            Text {
                Layout.fillWidth: true
                text: "Details"
                font.pixelSize: 15
                font.weight: Font.Medium
                color: Theme.ink
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            SymbolButton {
                objectName: "inspectorClose"
                implicitWidth: 28
                implicitHeight: 28
                symbol: "xmark"
                toolTip: "Hide Details"
                onClicked: AppState.showInspector = false
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.line
        }

        Loader {
            objectName: "itemInspectorLoader"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: active
            active: root.visible && root.focused !== undefined && root.focused !== null
            sourceComponent: ItemInspector {
                item: root.focused
            }
        }

        EmptyState {
            objectName: "noSelection"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: root.focused === undefined || root.focused === null
            title: "No Selection"
            symbol: "sidebar.right"
            message: "Select a file to see a preview and its details."
        }
    }
}
