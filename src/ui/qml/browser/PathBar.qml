import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// The crumbs of a folder walk: the place, then every folder entered below it.
Flow {
    id: root

    required property BrowserSource source

    spacing: 6

    Repeater {
        model: root.source.crumbs
        delegate: Row {
            required property var modelData
            required property int index
            spacing: 6
            Symbol {
                visible: parent.index > 0
                anchors.verticalCenter: parent.verticalCenter
                name: "chevron.right"
                size: 8
                color: Theme.tertiary
            }
            Rectangle {
                width: crumbText.implicitWidth + 18
                height: crumbText.implicitHeight + 8
                radius: height / 2
                color: crumbHover.hovered ? Qt.darker(Theme.fill, 1.1) : Theme.fill
                Accessible.role: Accessible.Button
                Accessible.name: parent.modelData.title
                Accessible.onPressAction: root.source.openCrumb(parent.modelData.index)
                Text {
                    id: crumbText
                    anchors.centerIn: parent
                    text: parent.parent.modelData.title
                    font.pixelSize: 11
                    color: Theme.secondary
                }
                HoverHandler {
                    id: crumbHover
                }
                TapHandler {
                    onTapped: root.source.openCrumb(parent.parent.modelData.index)
                }
            }
        }
    }
}
