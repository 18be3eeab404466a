import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Core

// The running turn under the last message: the tools it called with their times, the
// subagents it started, and the answer as it streams in.
ColumnLayout {
    id: progress
    required property VelmarOSChatStore store
    required property ConversationViewModel chat

    readonly property bool active: store ? store.agentLoopActive : false

    objectName: "turnProgress"
    spacing: Theme.space2

    // Tool trail of the current (or last) turn.
    Rectangle {
        visible: progress.store && progress.store.toolTrail.length > 0
        Layout.fillWidth: true
        Layout.maximumWidth: 460
        implicitHeight: trail.implicitHeight + 2 * Theme.space2
        radius: Theme.radius
        color: Theme.surfaceMuted
        ColumnLayout {
            id: trail
            anchors.fill: parent
            anchors.margins: Theme.space2
            spacing: 2
            Repeater {
                model: progress.store ? progress.store.toolTrail : []
                delegate: RowLayout {
                    required property var modelData
                    objectName: "toolTrailEntry"
                    Layout.fillWidth: true
                    spacing: Theme.space2
                    Item {
                        Layout.preferredWidth: 14
                        Layout.preferredHeight: 14
                        Spinner { anchors.centerIn: parent; visible: modelData.status === "running"; size: 11 }
                        SymbolIcon {
                            anchors.centerIn: parent
                            visible: modelData.status !== "running"
                            symbol: modelData.status === "ok" ? "checkmark" : "xmark"
                            tint: modelData.status === "ok" ? Theme.success : Theme.danger
                            size: 11
                        }
                    }
                    Text {
                        text: modelData.tool
                        font.family: "DejaVu Sans Mono"
                        font.pixelSize: Theme.fontCaption
                        color: Theme.textPrimary
                    }
                    Text {
                        Layout.fillWidth: true
                        text: modelData.resultPreview ?? ""
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        color: Theme.textSecondary
                        elide: Text.ElideRight
                    }
                    Text {
                        objectName: "toolDuration"
                        text: progress.chat.durationText(modelData.durationMs)
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontMicro + 1
                        color: Theme.textTertiary
                    }
                }
            }
        }
    }

    // Subagents, kept across turns.
    Repeater {
        model: progress.store ? progress.store.subagentRuns : []
        delegate: Rectangle {
            required property var modelData
            objectName: "subagentRun"
            Layout.fillWidth: true
            Layout.maximumWidth: 460
            implicitHeight: runColumn.implicitHeight + 2 * Theme.space2
            radius: Theme.radius
            color: Theme.surface
            border.color: Theme.border
            ColumnLayout {
                id: runColumn
                anchors.fill: parent
                anchors.margins: Theme.space2
                spacing: 2
                RowLayout {
                    spacing: Theme.space2
                    Spinner { visible: modelData.status === "running"; size: 11 }
                    Text {
                        text: "子任务 · " + modelData.kind
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        font.weight: Font.DemiBold
                        color: Theme.textSecondary
                    }
                    Text {
                        text: modelData.status === "running" ? "进行中" : modelData.status === "done" ? "完成" : "失败"
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        color: modelData.status === "failed" ? Theme.danger : modelData.status === "done" ? Theme.success : Theme.accent
                    }
                    Text {
                        visible: modelData.costUSD !== null && modelData.costUSD !== undefined
                        text: "$" + Number(modelData.costUSD ?? 0).toFixed(2)
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        color: Theme.textTertiary
                    }
                }
                Text {
                    Layout.fillWidth: true
                    visible: modelData.label.length > 0
                    text: modelData.label
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    color: Theme.textPrimary
                    elide: Text.ElideRight
                }
                Text {
                    Layout.fillWidth: true
                    visible: (modelData.outputSummary ?? "").length > 0
                    text: modelData.outputSummary ?? ""
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    color: Theme.textSecondary
                    maximumLineCount: 3
                    wrapMode: Text.Wrap
                    elide: Text.ElideRight
                }
            }
        }
    }

    // The answer as it arrives.
    AssistantText {
        objectName: "streamingText"
        visible: progress.store && progress.store.streamingText.length > 0
        Layout.fillWidth: true
        text: progress.store ? progress.store.streamingText + " ▍" : ""
    }

    RowLayout {
        visible: progress.active && progress.store.streamingText.length === 0
        spacing: Theme.space2
        Spinner { size: 12; tint: Theme.accent }
        Text {
            objectName: "turnStatus"
            text: progress.store && progress.store.currentToolCall.length > 0
                  ? "调用 " + progress.store.currentToolCall + " …" : "思考中…"
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.textSecondary
        }
    }
}
