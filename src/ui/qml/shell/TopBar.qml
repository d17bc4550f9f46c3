import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The strip above the screen: search, the progress of text reading, the library's size, the
// inspector button, the primary menu and the window buttons. Empty parts of it move the window.
Item {
    id: root

    property Commands commands

    ShellModel {
        id: shell
    }

    WindowDragArea {
        anchors.fill: parent
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.pad
        anchors.rightMargin: 12
        anchors.topMargin: 6
        spacing: 14

        SymbolButton {
            objectName: "showSidebarButton"
            visible: AppState.sidebarCollapsed
            symbol: "sidebar.left"
            symbolSize: 14
            toolTip: "Show Sidebar"
            onClicked: AppState.sidebarCollapsed = false
        }

        SearchField {
            id: search
            objectName: "searchField"
            Layout.preferredWidth: 360
            Layout.preferredHeight: 40
        }

        Item {
            Layout.fillWidth: true
        }

        RowLayout {
            objectName: "readingProgress"
            visible: TextIndex.isIndexing
            spacing: 6

            ProgressRing {
                value: TextIndex.total > 0 ? TextIndex.done / TextIndex.total : 0
            }
            Text {
                text: shell.readingText
                font.pixelSize: 11
                color: Theme.secondary
            }
            HoverHandler {
                id: readingHover
            }
            ToolTip.visible: readingHover.hovered
            ToolTip.text: "Velk reads the text in your screenshots and photos on this computer so you can search for words inside them."
        }

        RowLayout {
            spacing: 6
            Text {
                text: "Library size"
                font.pixelSize: 12
                color: Theme.secondary
            }
            Text {
                objectName: "librarySize"
                text: shell.librarySize
                font.pixelSize: 12
                font.weight: Font.Medium
                color: Theme.ink
            }
        }

        SymbolButton {
            objectName: "inspectorButton"
            Layout.preferredWidth: 34
            Layout.preferredHeight: 34
            symbol: "sidebar.right"
            symbolSize: 14
            active: AppState.showInspector
            toolTip: "Show Details (Ctrl+I)"
            onClicked: AppState.showInspector = !AppState.showInspector
        }

        SymbolButton {
            id: menuButton
            objectName: "primaryMenuButton"
            Layout.preferredWidth: 34
            Layout.preferredHeight: 34
            symbol: "line.3.horizontal"
            symbolSize: 14
            toolTip: "Main Menu"
            onClicked: root.commands.openMenu(menuButton)
        }

        WindowControls {
            Layout.leftMargin: 4
        }
    }

    Connections {
        target: AppState
        function onFocusSearchTokenChanged() {
            search.focusField()
        }
    }
}
