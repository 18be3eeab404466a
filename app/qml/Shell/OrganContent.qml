import QtQuick
import QtQuick.Layouts
import VelmarOS.Theme
import VelmarOS.Activity
import VelmarOS.Core

// The centre view of an organ at a sub-screen. No organ's own screens are in yet, so each
// shows its placeholder; the time organ adds the capture banner above it.
Item {
    id: content
    required property VelmarOSRootViewModel model
    required property GlobalActivityBarModel activity

    objectName: "organContent"

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.space5
        spacing: Theme.space4

        TimeCaptureHealthBanner {
            Layout.fillWidth: true
            Layout.maximumWidth: 720
            Layout.alignment: Qt.AlignHCenter
            visible: content.model.organRaw === "time" && content.activity.hasIssue
            model: content.activity
        }

        OrganPlaceholderView {
            Layout.fillWidth: true
            Layout.fillHeight: true
            icon: content.model.placeholder.icon ?? ""
            title: content.model.placeholder.title ?? ""
            message: content.model.placeholder.message ?? ""
        }
    }
}
