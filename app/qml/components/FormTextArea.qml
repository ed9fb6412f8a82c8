// SPDX-License-Identifier: Apache-2.0
import QtQuick
import QtQuick.Controls

// A text area in which Tab and Shift+Tab move on to the next control, as every other field of
// a form does: nothing here ever needs a tab character.
TextArea {
    id: area
    wrapMode: TextArea.Wrap
    selectByMouse: true
    Keys.onTabPressed: area.moveFocus(true)
    Keys.onBacktabPressed: area.moveFocus(false)

    function moveFocus(forward) {
        const next = area.nextItemInFocusChain(forward);
        if (next && next !== area)
            next.forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason);
    }
}
