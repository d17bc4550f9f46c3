import QtQuick
import QtQuick.Layouts
import Velk

// A quiet panel that says why a list is empty.
Item {
    id: root

    property string title
    property string symbol
    property string message

    implicitHeight: 320
    Accessible.role: Accessible.StaticText
    Accessible.name: title + ". " + message

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width, 420)
        spacing: 10
        Symbol {
            Layout.alignment: Qt.AlignHCenter
            name: root.symbol
            size: 40
            color: Theme.tertiary
        }
        Text {
            objectName: "emptyTitle"
            Layout.alignment: Qt.AlignHCenter
            text: root.title
            font.pixelSize: 17
            font.weight: Font.DemiBold
            color: Theme.ink
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: root.message
            font.pixelSize: 13
            color: Theme.secondary
        }
    }
}
