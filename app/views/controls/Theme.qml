pragma Singleton
import QtQuick

// Colours, type sizes, spacing and radii shared by every view: a dark window with a mint accent.
// Sizes are in logical pixels, which match the points the layouts were drawn in.
QtObject {
    id: root

    // Surfaces
    readonly property color appBackground: Qt.rgba(0.035, 0.055, 0.085, 1)   // the window
    readonly property color panel: Qt.rgba(0.065, 0.09, 0.13, 1)      // sidebar cards, channel list, player
    readonly property color card: Qt.rgba(1, 1, 1, 0.04)             // rows and cards laid on a panel
    readonly property color hover: Qt.rgba(1, 1, 1, 0.06)
    readonly property color selection: Qt.rgba(1, 1, 1, 0.10)        // the highlighted section or connection
    readonly property color separator: Qt.rgba(1, 1, 1, 0.10)
    readonly property color fieldBackground: Qt.rgba(1, 1, 1, 0.06)
    readonly property color fieldBorder: Qt.rgba(1, 1, 1, 0.16)
    readonly property color videoBackground: "black"

    // Accent
    readonly property color mint: "#63e6e2"
    readonly property color mintTint: Qt.rgba(mint.r, mint.g, mint.b, 0.10)   // background of a mint selection
    readonly property color textOnMint: "black"                                     // text and icons on mint

    // Text
    readonly property color primaryText: Qt.rgba(1, 1, 1, 0.90)
    readonly property color secondaryText: Qt.rgba(1, 1, 1, 0.55)
    readonly property color tertiaryText: Qt.rgba(1, 1, 1, 0.30)

    // States
    readonly property color warning: "#ff9f0a"
    readonly property color noticeBackground: Qt.rgba(warning.r, warning.g, warning.b, 0.09)
    readonly property color destructive: "#ff453a"

    // Type sizes, from the smallest: the brand tagline, captions and small headings, then the text styles.
    readonly property int taglineSize: 8
    readonly property int captionSize: 10
    readonly property int subheadlineSize: 11
    readonly property int calloutSize: 12
    readonly property int bodySize: 13            // names in lists and most text
    readonly property int headlineSize: 13        // with headlineWeight
    readonly property int headlineWeight: Font.DemiBold
    readonly property int title3Size: 15
    readonly property int title2Size: 17
    readonly property int titleSize: 22
    readonly property int largeTitleSize: 26
    readonly property real wideLetterSpacing: 1.5 // capitals headings and the tagline
    readonly property string monospaceFamily: "monospace"

    // Spacing and shapes
    readonly property int spacingTiny: 4
    readonly property int spacingSmall: 8
    readonly property int spacing: 12
    readonly property int spacingLarge: 16
    readonly property int spacingHuge: 24
    readonly property int radiusSmall: 6
    readonly property int radius: 8              // buttons, rows, selections
    readonly property int radiusLarge: 12        // cards and panels

    // Icons (see Icon.qml)
    readonly property int iconSmall: 12
    readonly property int iconSize: 16
    readonly property int iconLarge: 20
    readonly property int brandIconSize: 25
    readonly property int emptyStateIconSize: 48

    // Primary buttons (MintButton.qml)
    readonly property int mintButtonHorizontalPadding: 12
    readonly property int mintButtonVerticalPadding: 8
    readonly property real mintButtonPressedOpacity: 0.65
    readonly property real mintButtonDisabledTextOpacity: 0.5

    // Window layout
    readonly property int sidebarWidth: 250
    readonly property int channelListWidth: 340
}
