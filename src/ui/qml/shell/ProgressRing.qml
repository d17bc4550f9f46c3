import QtQuick
import Velk

// A small ring that fills clockwise with `value` from 0 to 1.
Canvas {
    id: root

    property real value: 0

    implicitWidth: 14
    implicitHeight: 14
    onValueChanged: requestPaint()

    onPaint: {
        const ctx = getContext("2d")
        ctx.reset()
        const r = Math.min(width, height) / 2 - 1.5
        ctx.lineWidth = 2
        ctx.strokeStyle = Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.12)
        ctx.beginPath()
        ctx.arc(width / 2, height / 2, r, 0, 2 * Math.PI)
        ctx.stroke()
        ctx.strokeStyle = Theme.ink
        ctx.beginPath()
        ctx.arc(width / 2, height / 2, r, -Math.PI / 2, -Math.PI / 2 + 2 * Math.PI * Math.max(0, Math.min(1, value)))
        ctx.stroke()
    }
}
