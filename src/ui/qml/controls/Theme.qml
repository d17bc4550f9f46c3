pragma Singleton

import QtQuick

// The palette of the window. Colours follow the system's light or dark appearance.
QtObject {
    readonly property SystemPalette system: SystemPalette {}
    readonly property bool dark: system.window.hslLightness < 0.5
    readonly property color ink: dark ? Qt.rgba(0.94, 0.94, 0.94, 1) : Qt.rgba(0.11, 0.11, 0.13, 1)
    readonly property color bg: system.base
    readonly property color card: dark ? Qt.rgba(0.16, 0.16, 0.16, 1) : "white"
    readonly property color line: Qt.rgba(ink.r, ink.g, ink.b, 0.09)
    readonly property color fill: Qt.rgba(ink.r, ink.g, ink.b, 0.045)
    readonly property color red: Qt.rgba(0.93, 0.2, 0.22, 1)
    readonly property color green: Qt.rgba(0.16, 0.68, 0.42, 1)
    readonly property color star: Qt.rgba(0.98, 0.76, 0.18, 1)
}
