// The controls of a screen as data: for each control, by its name, what it
// shows, its colours, whether it is visible and, for a two-state key, its
// value. The screen logic writes here; the widgets only copy it onto the
// screen, and the records (event lamps, data-log captions) write the few
// controls of a page they own.
//
// Names are the control's name with the index in parentheses for a control
// array: "PV2000(1)", "Status_Lamp2100(17)", "lbl_Chamber_Name2200".
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <unordered_map>

namespace qel {

// A colour: RGB, or one of the desktop's own colours, or none at all (the
// widget keeps the look its style gives it).
struct Color {
    enum class System : uint8_t { None, Rgb, Highlight, HighlightText, ButtonFace, Info };
    System kind = System::None;
    uint8_t r = 0, g = 0, b = 0;

    static constexpr Color rgb(int red, int green, int blue) {
        return Color{System::Rgb, static_cast<uint8_t>(red), static_cast<uint8_t>(green),
                     static_cast<uint8_t>(blue)};
    }
    static constexpr Color system(System s) { return Color{s, 0, 0, 0}; }
    bool isSet() const { return kind != System::None; }
    // 0x00BBGGRR for an RGB colour (the form the settings files hold), -1 otherwise.
    int32_t value() const { return kind == System::Rgb ? (b << 16 | g << 8 | r) : -1; }
    // The RGB colour of such a number.
    static constexpr Color fromValue(int32_t v) { return rgb(v & 0xFF, (v >> 8) & 0xFF, (v >> 16) & 0xFF); }
    friend bool operator==(const Color&, const Color&) = default;
};

namespace colors {
inline constexpr Color kRed = Color::rgb(255, 0, 0);
inline constexpr Color kBlack = Color::rgb(0, 0, 0);
inline constexpr Color kWhite = Color::rgb(255, 255, 255);
inline constexpr Color kYellow = Color::rgb(255, 255, 0);
inline constexpr Color kBlue = Color::rgb(0, 0, 255);
inline constexpr Color kCyan = Color::rgb(0, 255, 255);
inline constexpr Color kHighlight = Color::system(Color::System::Highlight);
inline constexpr Color kHighlightText = Color::system(Color::System::HighlightText);
inline constexpr Color kButtonFace = Color::system(Color::System::ButtonFace);
inline constexpr Color kInfo = Color::system(Color::System::Info);
}  // namespace colors

struct Control {
    QString caption;
    Color fore;
    Color back;
    bool visible = true;
    bool value = false;  // two-state keys: the state the key shows
};

// How a change of one control is copied to others: the caption always, the
// fore and back colours when asked.
struct Mirror {
    QString target;
    bool fore = false;
    bool back = false;
};

class ControlSet {
public:
    ControlSet();
    // A set stays where it is made: callers keep its entries.
    ControlSet(const ControlSet&) = delete;
    ControlSet& operator=(const ControlSet&) = delete;

    // The control; an unknown name is created with the defaults.
    const Control& get(const QString& name) const;
    bool has(const QString& name) const;

    // Each setter copies along the control's mirrors, and counts a change
    // only when something differs.
    void setCaption(const QString& name, const QString& caption);
    void setFore(const QString& name, Color color);
    void setBack(const QString& name, Color color);
    void setVisible(const QString& name, bool visible);
    void setValue(const QString& name, bool value);

    // Changes of `source` are copied to `mirror.target` from now on.
    void addMirror(const QString& source, const Mirror& mirror);

    // Goes up by one with every change: a view repaints only when it moved.
    uint64_t revision() const { return revision_; }
    QStringList names() const;
    void clear();

    // A control and the controls its changes are copied to, under one name,
    // so that a setter finds both with one look-up.
    struct Entry {
        Control control;
        QList<Mirror> mirrors;
        bool shown = false;  // known as a control, not only as a mirror's source
    };
    // The entry of a control, made when new, for a caller that sets the same
    // controls on every pass and keeps it: it stays where it is until
    // clear(), which moves generation() on. No two sets, and no set before
    // and after a clear, share a generation.
    Entry* entry(const QString& name) { return &slot(name); }
    void setBack(Entry* entry, Color color);
    uint64_t generation() const { return generation_; }

private:
    Entry& slot(const QString& name);
    void touched();

    std::unordered_map<QString, Entry> controls_;  // node-based: an entry never moves
    uint64_t revision_ = 0;
    uint64_t generation_;
};

// "PV2000" and 1 give "PV2000(1)".
QString Indexed(const QString& name, int index);
// Appends "(index)" to out.
void AppendIndex(QString& out, int index);

}  // namespace qel
