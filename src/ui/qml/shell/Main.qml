import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ApplicationWindow {
    id: window

    width: 1180
    height: 760
    minimumWidth: 820
    minimumHeight: 520
    visible: true
    title: "Velk"
    color: Theme.bg

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 220
            color: Theme.fill

            Label {
                anchors.left: parent.left
                anchors.top: parent.top
                anchors.margins: 18
                text: "Velk"
                font.pixelSize: 20
                font.weight: Font.DemiBold
                color: Theme.ink
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            color: Theme.bg

            Label {
                anchors.centerIn: parent
                text: "Your files will appear here."
                color: Theme.ink
                opacity: 0.5
                font.pixelSize: 15
            }
        }
    }
}
