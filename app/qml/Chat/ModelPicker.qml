import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The session's model tier: its name on the button, each tier's role in the menu.
AbstractButton {
    id: picker
    required property ConversationViewModel chat

    readonly property var current: {
        const models = chat.models
        for (let i = 0; i < models.length; ++i)
            if (models[i].id === chat.modelId)
                return models[i]
        return models[1]
    }

    objectName: "modelPicker"
    implicitHeight: 28
    implicitWidth: pickerRow.implicitWidth + 2 * Theme.space2
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: "模型 " + current.displayName
    ToolTip.visible: hovered
    ToolTip.delay: 450
    ToolTip.text: current.roleHint
    onClicked: menu.popup(picker, 0, -menu.implicitHeight - 4)

    background: Rectangle {
        radius: Theme.radiusSmall
        color: picker.down ? Theme.pressed : picker.hovered ? Theme.hover : "transparent"
        border.width: picker.visualFocus ? 2 : 1
        border.color: picker.visualFocus ? Theme.focusRing : Theme.border
    }
    contentItem: RowLayout {
        id: pickerRow
        spacing: Theme.space1
        Text {
            text: picker.current.displayName
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            font.weight: Font.DemiBold
            color: Theme.textPrimary
        }
        Text {
            text: "▾"
            font.pixelSize: Theme.fontMicro
            color: Theme.textSecondary
        }
    }
    leftPadding: Theme.space2
    rightPadding: Theme.space2

    AppMenu {
        id: menu
        implicitWidth: 260
        Repeater {
            model: picker.chat.models
            delegate: MenuItem {
                id: option
                required property var modelData
                objectName: "modelOption-" + modelData.id
                implicitHeight: 44
                onTriggered: picker.chat.selectModel(modelData.id)
                contentItem: ColumnLayout {
                    spacing: 0
                    Text {
                        leftPadding: Theme.space2
                        text: (option.modelData.id === picker.chat.modelId ? "✓ " : "") + option.modelData.displayName
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                        font.weight: Font.Medium
                        color: Theme.textPrimary
                    }
                    Text {
                        leftPadding: Theme.space2
                        text: option.modelData.roleHint
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        color: Theme.textSecondary
                    }
                }
                background: Rectangle {
                    radius: Theme.radiusSmall
                    color: option.highlighted ? Theme.accentSoft : "transparent"
                }
            }
        }
    }
}
