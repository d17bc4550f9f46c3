import QtQuick

// The outline of a folder: a tab along the top left rising above the body, every corner rounded, and
// the tab's right side falling to the body in one smooth curve.
Canvas {
    id: root

    property color fillColor: "transparent"
    property color strokeColor: "transparent"
    property real strokeWidth: 1
    property real tabWidthFraction: 0.38
    property real tabHeight: 12
    property real radius: 12

    onFillColorChanged: requestPaint()
    onStrokeColorChanged: requestPaint()
    onStrokeWidthChanged: requestPaint()
    onWidthChanged: requestPaint()
    onHeightChanged: requestPaint()

    onPaint: {
        const ctx = getContext("2d")
        ctx.reset()
        const inset = strokeWidth / 2
        const left = inset, top = inset, right = width - inset, bottom = height - inset
        const body = top + tabHeight
        const r = Math.min(radius, (bottom - body) / 2)
        const foot = left + (right - left) * tabWidthFraction
        ctx.beginPath()
        ctx.moveTo(left, bottom - r)
        ctx.lineTo(left, top + r)
        ctx.quadraticCurveTo(left, top, left + r, top)
        // The tab's top, then its side falling to the body through control points 14 before and
        // after its foot.
        ctx.lineTo(foot - 14, top)
        ctx.bezierCurveTo(foot, top, foot - 14, body, foot + 14, body)
        ctx.lineTo(right - r, body)
        ctx.quadraticCurveTo(right, body, right, body + r)
        ctx.lineTo(right, bottom - r)
        ctx.quadraticCurveTo(right, bottom, right - r, bottom)
        ctx.lineTo(left + r, bottom)
        ctx.quadraticCurveTo(left, bottom, left, bottom - r)
        ctx.closePath()
        ctx.fillStyle = fillColor
        ctx.fill()
        if (strokeWidth > 0) {
            ctx.lineWidth = strokeWidth
            ctx.strokeStyle = strokeColor
            ctx.stroke()
        }
    }
}
