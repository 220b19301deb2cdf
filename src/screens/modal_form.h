// A modal settings form as data and behaviour: its controls by name - the
// text of a field, the caption of a label, frame or key, visibility, the state
// of a check box or switch - the items and index of its lists, and the poll
// that runs while it is open. The dialog copies the controls onto widgets of
// the same object names and hands the operator's edits back by those names;
// tests drive the form the same way without a widget.
#pragma once

#include "controls.h"
#include "modal_poll.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>

namespace qel {

class ModalForm {
public:
    // A form destroyed while open stops its poll and hands it back to
    // ReadComm (without `unloaded`: the view is going already).
    virtual ~ModalForm() = default;
    ModalForm(const ModalForm&) = delete;
    ModalForm& operator=(const ModalForm&) = delete;

    // Fills the controls from the settings in force and starts the form's poll.
    virtual void Form_Load() = 0;

    QString title() const { return title_; }
    const ControlSet& controls() const { return controls_; }
    // A field's text or a label's caption.
    QString text(const QString& name) const { return controls_.get(name).caption; }
    bool checked(const QString& name) const { return controls_.get(name).value; }
    bool visible(const QString& name) const { return controls_.get(name).visible; }
    int listIndex(const QString& name) const { return lists_.value(name, -1); }
    QStringList items(const QString& name) const { return items_.value(name); }
    // Every list control, in no particular order.
    QStringList lists() const { return items_.keys(); }

    // The operator's edits. A text is taken as typed, whatever it holds: what
    // a field may hold is the view's filter (accepts()); the store reads a
    // number from any text as Val does.
    void setText(const QString& name, const QString& text) { controls_.setCaption(name, text); }
    void setChecked(const QString& name, bool on) { controls_.setValue(name, on); }
    // The operator picks an item (-1: none); a form may act on it at once.
    virtual void listClick(const QString& name, int index);
    // A key or switch pressed (a switch's new state is set first).
    virtual void click(const QString& name) { (void)name; }
    // The field of that name lost the focus to another control of the form.
    virtual void lostFocus(const QString& name) { (void)name; }
    // The key-press filter: whether the field may hold `text` (typed or pasted).
    virtual bool accepts(const QString& name, const QString& text) const;

    bool isOpen() const { return open_; }
    // Runs once the form has unloaded (store or close): the view goes.
    std::function<void()> unloaded;
    // Runs after each tick of the form's poll: the screens behind repaint.
    void setAfterTick(std::function<void()> afterTick) { poll_.afterTick = std::move(afterTick); }
    bool polling() const { return poll_.running(); }

protected:
    ModalForm() = default;

    // Load's last step: the form is open and its poll runs.
    void opened();
    // Form unload: the poll stops and ReadComm runs again; then `unloaded`.
    void unload();
    void setList(const QString& name, const QStringList& items, int index);

    QString title_;
    ControlSet controls_;

private:
    QHash<QString, QStringList> items_;
    QHash<QString, int> lists_;
    ModalPoll poll_;
    bool open_ = false;
};

// Whether `text` is a whole number the field may hold: digits, with one
// leading "-" when `negative`, within min..max; "" and a lone "-" count as
// a number being typed.
bool WholeNumberText(const QString& text, bool negative, double min, double max);

}  // namespace qel
