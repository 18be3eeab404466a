import QtQuick
import VelmarOS.Theme

// The assistant's words: plain text on the page, selectable.
TextEdit {
    objectName: "assistantText"
    readOnly: true
    selectByMouse: true
    wrapMode: TextEdit.Wrap
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontBody
    color: Theme.textPrimary
    selectionColor: Theme.accentSoft
    selectedTextColor: Theme.textPrimary
}
