pragma Singleton

import QtQuick
import Velk

// The palette of the window, light or dark as the desktop is, and the sizes the views share.
QtObject {
    readonly property bool dark: ColorScheme.dark

    readonly property color ink: dark ? Qt.rgba(0.94, 0.94, 0.94, 1) : Qt.rgba(0.11, 0.11, 0.13, 1)
    // The background of text, as the desktop draws it.
    readonly property color bg: dark ? Qt.rgba(0.118, 0.118, 0.122, 1) : Qt.rgba(1, 1, 1, 1)
    readonly property color card: dark ? Qt.rgba(0.16, 0.16, 0.16, 1) : "white"
    readonly property color line: Qt.rgba(ink.r, ink.g, ink.b, 0.09)
    readonly property color fill: Qt.rgba(ink.r, ink.g, ink.b, 0.045)
    readonly property color red: Qt.rgba(0.93, 0.2, 0.22, 1)
    readonly property color green: Qt.rgba(0.16, 0.68, 0.42, 1)
    readonly property color star: Qt.rgba(0.98, 0.76, 0.18, 1)
    readonly property color secondary: Qt.rgba(ink.r, ink.g, ink.b, dark ? 0.6 : 0.55)
    readonly property color tertiary: Qt.rgba(ink.r, ink.g, ink.b, dark ? 0.38 : 0.32)

    readonly property var pastels: [Qt.rgba(0.55, 0.5, 0.95, 1), Qt.rgba(0.35, 0.62, 0.95, 1), Qt.rgba(0.98, 0.58, 0.38, 1), Qt.rgba(0.25, 0.72, 0.55, 1), Qt.rgba(0.93, 0.42, 0.62, 1), Qt.rgba(0.93, 0.7, 0.2, 1)]
    function pastel(name) {
        return Format.pastel(name)
    }

    readonly property int sidebarWidth: 252
    readonly property int inspectorWidth: 320
    readonly property int topBarHeight: 72
    readonly property int pad: 36
    readonly property int spacing: 22
}
