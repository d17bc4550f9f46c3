import QtQuick
import Velk

// The answer to what is typed in the search field, with how it was understood.
FileBrowser {
    id: root

    // The destination on show; the same for every search and for home.
    property string key

    source: SearchSource {
        id: search
    }
    accessory: search.chips.length > 0 ? chipsRow : null

    Component {
        id: chipsRow
        UnderstoodChips {
            objectName: "understoodChips"
            chips: search.chips
        }
    }
}
