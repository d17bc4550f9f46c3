import QtQuick
import QtQuick.Controls.impl
import Velk

// One of the program's symbols by its name, tinted.
Item {
    id: root

    property string name
    property real size: 14
    property color color: Theme.ink

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    IconImage {
        anchors.fill: parent
        sourceSize.width: Math.ceil(root.size * 2)
        sourceSize.height: Math.ceil(root.size * 2)
        source: root.name !== "" ? Symbols.source(root.name) : ""
        color: root.color
        fillMode: Image.PreserveAspectFit
    }
}
