#include "app/controls/theme.h"

#include <cmath>

namespace ostrel {
namespace {

QColor rgb(unsigned value) { return QColor(QRgb(0xff000000u | value)); }

Theme lightTheme() {
    Theme theme;
    theme.window = rgb(0xf3f4f6);
    theme.base = rgb(0xffffff);
    theme.alternate = rgb(0xf8f9fb);
    theme.raised = rgb(0xffffff);
    theme.hover = rgb(0xe9ecf0);
    theme.pressed = rgb(0xdde1e7);
    theme.border = rgb(0xd3d8df);
    theme.text = rgb(0x1b2027);
    theme.secondaryText = rgb(0x566070);
    theme.disabledText = rgb(0x9aa3af);
    theme.accent = rgb(0x1463bd);
    theme.danger = rgb(0xa91d1d);
    theme.onAccent = rgb(0xffffff);
    theme.accentText = rgb(0x0f579f);
    theme.selection = rgb(0xd9e8fa);
    theme.secondary = rgb(0x525c6b);
    theme.blue = rgb(0x0d529b);
    theme.orange = rgb(0x8f4200);
    theme.yellow = rgb(0x6d5200);
    theme.purple = rgb(0x6a34ad);
    theme.green = rgb(0x0f622a);
    theme.red = rgb(0xa91d1d);
    theme.cyan = rgb(0x0a5a66);
    return theme;
}

Theme darkTheme() {
    Theme theme;
    theme.window = rgb(0x1d2025);
    theme.base = rgb(0x16181c);
    theme.alternate = rgb(0x1a1d21);
    theme.raised = rgb(0x262a31);
    theme.hover = rgb(0x323841);
    theme.pressed = rgb(0x3b424d);
    theme.border = rgb(0x383e48);
    theme.text = rgb(0xe7eaee);
    theme.secondaryText = rgb(0xa9b2bf);
    theme.disabledText = rgb(0x69727f);
    theme.accent = rgb(0x2a70cc);
    theme.danger = rgb(0xbf3a34);
    theme.onAccent = rgb(0xffffff);
    theme.accentText = rgb(0x7db6fa);
    theme.selection = rgb(0x213a58);
    theme.secondary = rgb(0xadb6c2);
    theme.blue = rgb(0x86bdfb);
    theme.orange = rgb(0xf3ab66);
    theme.yellow = rgb(0xe5ca6a);
    theme.purple = rgb(0xcdabf7);
    theme.green = rgb(0x78d795);
    theme.red = rgb(0xff9a93);
    theme.cyan = rgb(0x79d6e2);
    return theme;
}

double luminance(const QColor& color) {
    const auto linear = [](double value) {
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QColor mixed(const QColor& top, const QColor& bottom, double share) {
    const auto part = [share](float a, float b) { return static_cast<float>(a * share + b * (1 - share)); };
    return QColor::fromRgbF(part(top.redF(), bottom.redF()), part(top.greenF(), bottom.greenF()),
                            part(top.blueF(), bottom.blueF()));
}

} // namespace

QColor Theme::tone(ProcessingStatus::Color color) const {
    using Color = ProcessingStatus::Color;
    switch (color) {
    case Color::secondary: return secondary;
    case Color::blue: return blue;
    case Color::orange: return orange;
    case Color::yellow: return yellow;
    case Color::purple: return purple;
    case Color::green: return green;
    case Color::red: return red;
    case Color::cyan: break;
    }
    return cyan;
}

QColor Theme::tone(LogLevel level) const {
    switch (level) {
    case LogLevel::info: return text;
    case LogLevel::success: return green;
    case LogLevel::warning: return orange;
    case LogLevel::error: break;
    }
    return red;
}

QColor Theme::badgeFill(const QColor& tone) const { return mixed(tone, base, 0.1); }

std::vector<Theme::TextPair> Theme::textPairs() const {
    std::vector<TextPair> pairs{{"text on accent", onAccent, accent}, {"text on danger", onAccent, danger}};
    for (const QColor& surface : {window, base, alternate, raised, hover, pressed, selection}) {
        pairs.push_back({"text", text, surface});
        pairs.push_back({"secondary text", secondaryText, surface});
        pairs.push_back({"accent text", accentText, surface});
    }
    const std::pair<const char*, QColor> tones[] = {
        {"secondary", secondary}, {"blue", blue},   {"orange", orange}, {"yellow", yellow},
        {"purple", purple},       {"green", green}, {"red", red},       {"cyan", cyan}};
    for (const auto& [name, tone] : tones) {
        for (const QColor& surface : {window, base, alternate, raised, selection, badgeFill(tone)}) {
            pairs.push_back({name, tone, surface});
        }
    }
    return pairs;
}

const Theme& theme(Shade shade) {
    static const Theme light = lightTheme();
    static const Theme dark = darkTheme();
    return shade == Shade::dark ? dark : light;
}

bool isDark(const QPalette& palette) { return palette.color(QPalette::Window).lightness() < 128; }

const Theme& themeOf(const QPalette& palette) { return theme(isDark(palette) ? Shade::dark : Shade::light); }

QPalette paletteFor(Shade shade) {
    const Theme& colors = theme(shade);
    QPalette palette;
    const auto set = [&palette](QPalette::ColorRole role, const QColor& color) { palette.setColor(role, color); };
    set(QPalette::Window, colors.window);
    set(QPalette::WindowText, colors.text);
    set(QPalette::Base, colors.base);
    set(QPalette::AlternateBase, colors.alternate);
    set(QPalette::Text, colors.text);
    set(QPalette::PlaceholderText, colors.secondaryText);
    set(QPalette::Button, colors.raised);
    set(QPalette::ButtonText, colors.text);
    set(QPalette::BrightText, colors.onAccent);
    set(QPalette::ToolTipBase, colors.raised);
    set(QPalette::ToolTipText, colors.text);
    set(QPalette::Highlight, colors.accent);
    set(QPalette::HighlightedText, colors.onAccent);
    set(QPalette::Link, colors.accentText);
    set(QPalette::LinkVisited, colors.purple);
    set(QPalette::Light, colors.hover);
    set(QPalette::Midlight, colors.hover);
    set(QPalette::Mid, colors.border);
    set(QPalette::Dark, colors.border);
    set(QPalette::Shadow, QColor(Qt::black));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(QPalette::Disabled, role, colors.disabledText);
    }
    palette.setColor(QPalette::Disabled, QPalette::Highlight, colors.border);
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, colors.text);
    return palette;
}

double contrastRatio(const QColor& a, const QColor& b) {
    const double first = luminance(a) + 0.05;
    const double second = luminance(b) + 0.05;
    return first > second ? first / second : second / first;
}

} // namespace ostrel
