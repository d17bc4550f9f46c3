import QtQuick
import QtQuick.Controls
import Velk

// A small round button with an ellipsis that opens a menu.
SymbolButton {
    symbol: "ellipsis"
    symbolSize: 12
    round: true
    implicitWidth: 26
    implicitHeight: 26
    toolTip: "More"
}
