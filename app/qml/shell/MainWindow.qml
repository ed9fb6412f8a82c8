import QtQuick
import QtQuick.Controls
import Quillo.App

ApplicationWindow {
    id: window
    width: 960
    height: 640
    title: App.displayName
    Label { text: App.chats.rowCount() + " chats" }
}
