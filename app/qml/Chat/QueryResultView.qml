import QtQuick
import QtQuick.Layouts
import VelmarOS.Theme

// A table the agent found for a question: its title, summary and rows.
Rectangle {
    id: block
    required property var event

    readonly property var rows: event.rows ?? []
    readonly property var columns: rows.length > 0 ? Object.keys(rows[0]) : []

    objectName: "queryResult"
    implicitHeight: column.implicitHeight + 2 * Theme.space3
    radius: Theme.radius
    color: Theme.surface
    border.color: Theme.border

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: Theme.space3
        spacing: Theme.space2

        Text {
            Layout.fillWidth: true
            text: (block.event.title ?? "").length > 0 ? block.event.title : "查询结果"
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            font.weight: Font.DemiBold
            color: Theme.textPrimary
        }
        Text {
            visible: (block.event.summary ?? "").length > 0
            Layout.fillWidth: true
            text: block.event.summary ?? ""
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: Theme.textSecondary
            wrapMode: Text.Wrap
        }
        GridLayout {
            visible: block.rows.length > 0
            Layout.fillWidth: true
            columns: Math.max(1, block.columns.length)
            columnSpacing: Theme.space3
            rowSpacing: 3
            Repeater {
                model: block.columns
                delegate: Text {
                    required property string modelData
                    text: modelData
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontMicro + 1
                    font.weight: Font.DemiBold
                    color: Theme.textTertiary
                }
            }
            Repeater {
                model: block.rows.length * block.columns.length
                delegate: Text {
                    required property int index
                    objectName: "queryCell"
                    Layout.fillWidth: true
                    text: {
                        const r = block.rows[Math.floor(index / block.columns.length)]
                        const v = r ? r[block.columns[index % block.columns.length]] : ""
                        return v === undefined ? "" : String(v)
                    }
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    color: Theme.textPrimary
                    elide: Text.ElideRight
                }
            }
        }
    }
}
