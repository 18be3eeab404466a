import QtQuick

// A white surface with a hairline border: the frame of every widget and list.
Rectangle {
    id: card
    default property alias content: inner.data
    property int padding: Theme.space4

    color: Theme.surface
    radius: Theme.radius
    border.color: Theme.border
    implicitHeight: inner.childrenRect.height + 2 * padding
    implicitWidth: inner.childrenRect.width + 2 * padding

    Item {
        id: inner
        anchors.fill: parent
        anchors.margins: card.padding
    }
}
