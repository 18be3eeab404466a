import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Dialogs
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core
import VelmarOS.Chat

// Where a sentence is written: Enter sends, Shift+Enter breaks the line, images come from
// files. A sentence typed during a running turn waits its turn; the stop button ends the turn.
Rectangle {
    id: composer
    required property ConversationViewModel chat
    property bool showModelPicker: true
    signal sent()

    readonly property VelmarOSChatStore store: chat.store
    readonly property bool canSend: input.text.trim().length > 0 || attachments.count > 0
    property alias text: input.text
    readonly property alias attachments: attachments

    objectName: "composer"
    implicitHeight: column.implicitHeight + 2 * Theme.space2
    radius: Theme.radiusLarge
    color: Theme.surface
    border.width: input.activeFocus ? 2 : 1
    border.color: input.activeFocus ? Theme.focusRing : Theme.borderStrong

    ImageAttachments {
        id: attachments
        objectName: "attachments"
    }

    function send() {
        if (!composer.canSend)
            return
        if (composer.chat.send(input.text, attachments.forSubmission())) {
            input.clear()
            attachments.clear()
            composer.sent()
        }
    }

    function attach(urls) { attachments.addFiles(urls) }

    FileDialog {
        id: picker
        title: "选择图片"
        fileMode: FileDialog.OpenFiles
        nameFilters: ["图片 (*.png *.jpg *.jpeg *.heic *.webp *.gif *.bmp)"]
        onAccepted: attachments.addFiles(selectedFiles)
    }

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: Theme.space2
        spacing: Theme.space2

        // Images waiting to go.
        Flow {
            visible: attachments.count > 0
            Layout.fillWidth: true
            Layout.leftMargin: Theme.space1
            spacing: Theme.space2
            Repeater {
                model: attachments.items
                delegate: Item {
                    required property var modelData
                    required property int index
                    objectName: "attachmentThumbnail"
                    width: 56
                    height: 56
                    Image {
                        anchors.fill: parent
                        source: modelData.thumbnailUrl
                        fillMode: Image.PreserveAspectCrop
                    }
                    Rectangle {
                        anchors.fill: parent
                        color: "transparent"
                        radius: Theme.radiusSmall
                        border.color: Theme.border
                    }
                    IconButton {
                        anchors.top: parent.top
                        anchors.right: parent.right
                        anchors.margins: -6
                        implicitWidth: 20
                        implicitHeight: 20
                        glyphSize: 10
                        symbol: "xmark"
                        helpText: "移除这张图"
                        background: Rectangle { radius: 10; color: Theme.textPrimary }
                        tint: "white"
                        onClicked: attachments.remove(index)
                    }
                }
            }
        }
        Text {
            visible: attachments.error.length > 0
            Layout.fillWidth: true
            text: attachments.error
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.danger
            wrapMode: Text.Wrap
        }

        ScrollView {
            Layout.fillWidth: true
            Layout.preferredHeight: Math.min(Math.max(input.implicitHeight, 24), 120)
            TextArea {
                id: input
                objectName: "composerInput"
                placeholderText: "说一句话，例：今天午餐 50（Enter 发送，Shift+Enter 换行）"
                placeholderTextColor: Theme.textTertiary
                wrapMode: TextEdit.Wrap
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                color: Theme.textPrimary
                selectByMouse: true
                leftPadding: Theme.space2
                rightPadding: Theme.space2
                topPadding: Theme.space1
                bottomPadding: Theme.space1
                background: null
                Keys.onPressed: function(event) {
                    if ((event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
                            && !(event.modifiers & Qt.ShiftModifier)) {
                        composer.send()
                        event.accepted = true
                    }
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.space1
            IconButton {
                objectName: "attachButton"
                symbol: "paperclip"
                helpText: "添加图片（小票、账单、转账截图）"
                onClicked: picker.open()
            }
            ModelPicker {
                visible: composer.showModelPicker
                chat: composer.chat
            }
            Text {
                objectName: "queueNote"
                visible: composer.store && composer.store.queuedCount > 0
                Layout.leftMargin: Theme.space2
                text: "排队中 " + (composer.store ? composer.store.queuedCount : 0) + " 句"
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                color: Theme.textSecondary
            }
            Item { Layout.fillWidth: true }
            AppButton {
                objectName: "cancelTurnButton"
                visible: composer.store && composer.store.agentLoopActive
                variant: "secondary"
                text: "停止"
                implicitHeight: 28
                onClicked: composer.store.cancelCurrentTurn()
            }
            IconButton {
                objectName: "sendButton"
                enabled: composer.canSend
                symbol: "arrow.up"
                glyphSize: 15
                tint: "white"
                helpText: "发送（Enter）"
                background: Rectangle {
                    radius: 15
                    color: !parent.enabled ? "#C5D3FA" : parent.down ? Theme.accentPressed : parent.hovered ? Theme.accentHover : Theme.accent
                    border.width: parent.visualFocus ? 2 : 0
                    border.color: Theme.focusRing
                }
                onClicked: composer.send()
            }
        }
    }
}
