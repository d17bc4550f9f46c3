import QtQuick
import Velk

// A download source's symbol on a square of its own colour; a name always gets the same colour.
Rectangle {
    id: root

    property string name
    property string symbol
    property real size: 36

    width: size
    height: size
    radius: size * 0.26
    color: Qt.rgba(tint.r, tint.g, tint.b, 0.2)
    readonly property color tint: Format.pastel(name)
    Accessible.ignored: true

    Symbol {
        anchors.centerIn: parent
        name: root.symbol
        size: root.size * 0.42
        color: root.tint
    }
}
