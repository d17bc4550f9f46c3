import QtQuick
import QtQuick.Layouts
import Velk

// The three columns: the sidebar, the top bar over the routed screen, and the inspector's place.
Item {
    id: root

    property Commands commands

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Item {
            id: sidebarColumn
            Layout.fillHeight: true
            Layout.preferredWidth: AppState.sidebarCollapsed ? 0 : Theme.sidebarWidth + 1
            clip: true
            visible: Layout.preferredWidth > 0

            Behavior on Layout.preferredWidth {
                NumberAnimation {
                    duration: 200
                    easing.type: Easing.OutCubic
                }
            }

            Sidebar {
                objectName: "sidebar"
                width: Theme.sidebarWidth
                height: parent.height
                x: AppState.sidebarCollapsed ? -Theme.sidebarWidth : 0
            }

            Rectangle {
                anchors.right: parent.right
                width: 1
                height: parent.height
                color: Theme.line
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0

            TopBar {
                objectName: "topBar"
                Layout.fillWidth: true
                Layout.preferredHeight: Theme.topBarHeight
                commands: root.commands
            }
            Rectangle {
                Layout.fillWidth: true
                Layout.preferredHeight: 1
                color: Theme.line
            }
            DetailView {
                objectName: "detailView"
                Layout.fillWidth: true
                Layout.fillHeight: true
            }
        }

        Item {
            id: inspectorColumn
            objectName: "inspectorColumn"
            Layout.fillHeight: true
            Layout.preferredWidth: AppState.showInspector ? Theme.inspectorWidth + 1 : 0
            clip: true
            visible: Layout.preferredWidth > 0

            Behavior on Layout.preferredWidth {
                NumberAnimation {
                    duration: 200
                    easing.type: Easing.OutCubic
                }
            }

            Rectangle {
                width: 1
                height: parent.height
                color: Theme.line
            }

            InspectorView {
                objectName: "inspector"
                x: 1
                width: Theme.inspectorWidth
                height: parent.height
                // Nothing is read for a hidden column.
                visible: AppState.showInspector
            }
        }
    }

    PreviewSheet {
        id: previewSheet
        objectName: "previewSheetLayer"
        anchors.fill: parent
    }

    ToastView {
        objectName: "toast"
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 28
    }
}
