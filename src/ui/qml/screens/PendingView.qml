import QtQuick
import Velk

// The destinations whose screens are not in this version yet: they say so plainly.
EmptyState {
    id: root

    property string key

    title: key === "duplicates" ? "Duplicates" : key === "cleanupHub" || key.startsWith("cleanup/") ? "Clean Up" : "Downloaded From"
    symbol: key === "duplicates" ? "square.on.square" : key === "cleanupHub" || key.startsWith("cleanup/") ? "sparkles" : "arrow.down.circle"
    message: "This view is not part of this version of Velk yet. Its figures in the sidebar are already up to date."
}
