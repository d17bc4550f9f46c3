import QtQuick

// The program's logo, with rounded corners.
Item {
    id: root

    property real size: 24

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Image {
        anchors.fill: parent
        source: "qrc:/logo/org.velk.Velk.svg"
        sourceSize.width: Math.ceil(root.size * 2)
        sourceSize.height: Math.ceil(root.size * 2)
        smooth: true
        mipmap: true
    }
}
