// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls

// A scrolling form that keeps the control with the keyboard focus in view: tabbing to a field
// below the fold scrolls to it.
ScrollView {
    id: scroll

    function reveal(item) {
        const flick = scroll.contentItem;
        if (!item || !flick || !flick.contentItem)
            return;
        let inside = false;
        for (let at = item; at && !inside; at = at.parent)
            inside = at === flick.contentItem;
        if (!inside)
            return;
        const margin = 12;
        const top = item.mapToItem(flick.contentItem, 0, 0).y;
        const bottom = top + item.height;
        let y = flick.contentY;
        if (top - margin < y)
            y = top - margin;
        else if (bottom + margin > y + flick.height)
            y = bottom + margin - flick.height;
        flick.contentY = Math.max(0, Math.min(y, flick.contentHeight - flick.height));
    }

    Connections {
        target: scroll.Window.window
        function onActiveFocusItemChanged() {
            scroll.reveal(scroll.Window.activeFocusItem);
        }
    }
}
