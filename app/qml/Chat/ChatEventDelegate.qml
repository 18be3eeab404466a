import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// One event of the conversation, drawn by its kind: the user's line with its images, the
// assistant's text, a card waiting for a yes or no, a delete the agent proposes, a query's
// table, or an error line.
Item {
    id: row
    required property var event
    required property ConversationViewModel chat
    signal editRequested(var item)

    readonly property string kind: event.type ?? ""
    readonly property bool isPendingCard: kind === "pendingEmitted"

    objectName: "chatEvent-" + kind
    implicitHeight: loader.implicitHeight + Theme.space3

    Loader {
        id: loader
        width: parent.width
        sourceComponent: row.kind === "userMessage" ? userLine
                       : row.kind === "assistantText" ? assistantLine
                       : row.kind === "pendingEmitted" ? pendingLine
                       : row.kind === "proposedDelete" ? deleteLine
                       : row.kind === "queryResult" ? queryLine
                       : row.kind === "errorMessage" ? errorLine : null
    }

    Component {
        id: userLine
        Item {
            implicitHeight: bubble.implicitHeight
            Rectangle {
                id: bubble
                objectName: "userBubble"
                anchors.right: parent.right
                width: Math.min(parent.width * 0.82, userColumn.implicitWidth + 2 * Theme.space3)
                implicitHeight: userColumn.implicitHeight + 2 * Theme.space2
                radius: Theme.radiusLarge
                color: Theme.accent
                ColumnLayout {
                    id: userColumn
                    anchors.fill: parent
                    anchors.leftMargin: Theme.space3
                    anchors.rightMargin: Theme.space3
                    anchors.topMargin: Theme.space2
                    anchors.bottomMargin: Theme.space2
                    spacing: Theme.space2
                    Flow {
                        readonly property var urls: row.chat.thumbnailUrls(row.event.id ?? "")
                        visible: urls.length > 0
                        Layout.maximumWidth: 360
                        spacing: Theme.space1
                        Repeater {
                            model: parent.urls
                            delegate: Image {
                                required property string modelData
                                objectName: "messageThumbnail"
                                source: modelData
                                width: 72
                                height: 72
                                fillMode: Image.PreserveAspectCrop
                                asynchronous: false
                            }
                        }
                    }
                    Text {
                        Layout.maximumWidth: row.width * 0.82 - 2 * Theme.space3
                        text: row.event.text ?? ""
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                        color: "white"
                        wrapMode: Text.Wrap
                    }
                }
            }
        }
    }

    Component {
        id: assistantLine
        AssistantText { text: row.event.text ?? "" }
    }

    Component {
        id: pendingLine
        ColumnLayout {
            spacing: Theme.space2
            AssistantText {
                Layout.fillWidth: true
                visible: (row.event.assistantText ?? "").length > 0
                text: row.event.assistantText ?? ""
            }
            PendingCard {
                Layout.fillWidth: true
                Layout.maximumWidth: 460
                item: row.event.item ?? ({})
                chat: row.chat
                onEditRequested: function(item) { row.editRequested(item) }
            }
        }
    }

    Component {
        id: deleteLine
        ProposedDeleteCard {
            width: Math.min(row.width, 460)
            event: row.event
            chat: row.chat
        }
    }

    Component {
        id: queryLine
        QueryResultView { event: row.event }
    }

    Component {
        id: errorLine
        RowLayout {
            objectName: "errorLine"
            spacing: Theme.space2
            SymbolIcon {
                Layout.alignment: Qt.AlignTop
                symbol: "exclamationmark.triangle.fill"
                tint: Theme.danger
                size: 13
            }
            Text {
                Layout.fillWidth: true
                text: row.event.message ?? ""
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                color: Theme.danger
                wrapMode: Text.Wrap
            }
        }
    }
}
