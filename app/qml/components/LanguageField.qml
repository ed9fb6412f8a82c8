import QtQuick
import QtQuick.Controls

// A language, typed freely; the usual ones that start with what was typed are offered below.
TextField {
    id: field
    property var suggestions: Theme.languageSuggestions
    readonly property string language: text.trim()
    // Typing and picking a suggestion both end here.
    signal chosen(string language)

    readonly property var matches: {
        const typed = text.trim().toLowerCase();
        if (typed.length === 0)
            return [];
        return suggestions.filter(name => name.toLowerCase().startsWith(typed) && name.toLowerCase() !== typed).slice(0, 6);
    }

    selectByMouse: true
    onTextEdited: offers.visible = matches.length > 0
    onAccepted: {
        offers.close();
        if (language.length > 0)
            chosen(language);
    }
    onActiveFocusChanged: if (!activeFocus)
        offers.close()

    Popup {
        id: offers
        y: field.height + 2
        width: field.width
        padding: 4
        visible: false
        background: Rectangle {
            radius: 6
            color: Theme.surfaceRaised
            border.color: Theme.separator
        }
        contentItem: Column {
            Repeater {
                model: field.matches
                delegate: ItemDelegate {
                    required property string modelData
                    width: offers.width - 8
                    text: modelData
                    onClicked: {
                        field.text = modelData;
                        offers.close();
                        field.chosen(modelData);
                    }
                }
            }
        }
    }
}
