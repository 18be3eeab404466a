pragma Singleton
import QtQuick

// Design tokens: one calm light theme, a spacing scale and a type scale with a CJK face.
QtObject {
    readonly property string fontFamily: "Noto Sans CJK SC"

    readonly property color window: "#F5F5F7"
    readonly property color surface: "#FFFFFF"
    readonly property color surfaceMuted: "#F0F0F3"
    readonly property color border: "#E2E2E7"
    readonly property color borderStrong: "#C9C9D1"
    readonly property color textPrimary: "#1D1D1F"
    readonly property color textSecondary: "#6E6E73"
    readonly property color textTertiary: "#9A9AA1"
    readonly property color accent: "#3A6FF7"
    readonly property color accentHover: "#2F5EDB"
    readonly property color accentPressed: "#264EBB"
    readonly property color accentSoft: "#E8EEFF"
    readonly property color danger: "#D93A3A"
    readonly property color dangerSoft: "#FDECEC"
    readonly property color warning: "#B86E00"
    readonly property color warningSoft: "#FFF4E0"
    readonly property color success: "#1F8A4C"
    readonly property color focusRing: "#7FA0FF"
    readonly property color successSoft: "#E6F4EC"
    readonly property color income: "#1F8A4C"
    readonly property color gray400: "#A1A1AA"
    readonly property color gray500: "#71717A"

    // The sidebar and the strip above everything sit a shade off the content.
    readonly property color sidebar: "#EFEFF3"
    readonly property color sidebarHover: "#E4E4EA"
    readonly property color sidebarSelected: "#FFFFFF"
    readonly property color hover: "#F4F4F7"
    readonly property color pressed: "#EAEAEF"
    readonly property color scrim: "#52000000"

    // Monochrome glyphs come from this face; emoji from the colour emoji face.
    readonly property string symbolFamily: "DejaVu Sans"

    readonly property int space1: 4
    readonly property int space2: 8
    readonly property int space3: 12
    readonly property int space4: 16
    readonly property int space5: 24
    readonly property int space6: 32
    readonly property int space7: 48

    readonly property int radiusSmall: 6
    readonly property int radius: 10
    readonly property int radiusLarge: 14

    readonly property int fontMicro: 10
    readonly property int fontCaption: 11
    readonly property int fontBody: 13
    readonly property int fontBodyLarge: 15
    readonly property int fontHeadline: 17
    readonly property int fontTitle: 20
    readonly property int fontDisplay: 28

    readonly property int controlHeight: 34
    readonly property int rowHeight: 32
    readonly property int sidebarWidth: 212
    readonly property int rightPaneWidth: 320
    readonly property int headerHeight: 52
    readonly property int activityBarHeight: 34

    // The colour of a tone name used by status lines.
    function toneColor(tone) {
        switch (tone) {
        case "warning": return warning
        case "income": return income
        case "gray500": return gray500
        case "danger": return danger
        default: return gray400
        }
    }
}
