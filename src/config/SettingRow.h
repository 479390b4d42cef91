// The rows of the preferences window: each binds a setting to a widget.
#pragma once

#include <gtkmm/checkbutton.h>
#include <gtkmm/colorbutton.h>
#include <gtkmm/entry.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace trelis {

/// A label, a description and a widget. A text that cannot be read as the row's type, or that the
/// setting does not take, is refused without a word: the row goes back to the old value.
class SettingRow {
  public:
    SettingRow(std::string label, std::string description)
        : label_(std::move(label)), description_(std::move(description)) {}
    SettingRow(const SettingRow&) = delete;
    SettingRow& operator=(const SettingRow&) = delete;
    virtual ~SettingRow() = default;

    /// Fills the widget from the setting.
    virtual void show() = 0;
    /// Gives the widget's value to the setting, if it is another.
    virtual void apply() = 0;
    /// Whether the widget differs from the setting.
    [[nodiscard]] virtual bool isDirty() const = 0;
    [[nodiscard]] virtual Gtk::Widget& widget() = 0;

    [[nodiscard]] const std::string& label() const { return label_; }
    [[nodiscard]] const std::string& description() const { return description_; }

  private:
    std::string label_;
    std::string description_;
};

/// The ways to a setting.
template <typename T>
struct SettingSlots {
    std::function<T()> get;
    std::function<void(const T&)> set;
};

/// Stores a value; a setting that would read back as another one keeps what it had.
template <typename T>
void storeIfTaken(const SettingSlots<T>& slots, const T& value) {
    const T before = slots.get();
    slots.set(value);
    if (slots.get() != value) slots.set(before);
}

/// A setting that is shown as a text.
class SettingRowText : public SettingRow {
  public:
    using SettingRow::SettingRow;

    void show() override { entry_.set_text(storedText()); }
    void apply() override;
    [[nodiscard]] bool isDirty() const override { return entry_.get_text() != storedText(); }
    [[nodiscard]] Gtk::Widget& widget() override { return entry_; }

  private:
    [[nodiscard]] virtual std::string storedText() const = 0;
    /// Stores what the text says; nothing happens if it says nothing.
    virtual void storeText(const std::string& text) = 0;

    Gtk::Entry entry_;
};

class SettingRowInt : public SettingRowText {
  public:
    SettingRowInt(const std::string& label, const std::string& description, SettingSlots<int> slots)
        : SettingRowText(label, description), slots_(std::move(slots)) {}

  private:
    [[nodiscard]] std::string storedText() const override;
    void storeText(const std::string& text) override;
    SettingSlots<int> slots_;
};

class SettingRowDouble : public SettingRowText {
  public:
    SettingRowDouble(const std::string& label, const std::string& description,
                     SettingSlots<double> slots)
        : SettingRowText(label, description), slots_(std::move(slots)) {}

  private:
    [[nodiscard]] std::string storedText() const override;
    void storeText(const std::string& text) override;
    SettingSlots<double> slots_;
};

class SettingRowStr : public SettingRowText {
  public:
    SettingRowStr(const std::string& label, const std::string& description,
                  SettingSlots<std::string> slots)
        : SettingRowText(label, description), slots_(std::move(slots)) {}

  private:
    [[nodiscard]] std::string storedText() const override { return slots_.get(); }
    void storeText(const std::string& text) override { slots_.set(text); }
    SettingSlots<std::string> slots_;
};

class SettingRowBool : public SettingRow {
  public:
    SettingRowBool(const std::string& label, const std::string& description,
                   SettingSlots<bool> slots)
        : SettingRow(label, description), slots_(std::move(slots)) {}

    void show() override { button_.set_active(slots_.get()); }
    void apply() override {
        if (isDirty()) slots_.set(button_.get_active());
    }
    [[nodiscard]] bool isDirty() const override { return button_.get_active() != slots_.get(); }
    [[nodiscard]] Gtk::Widget& widget() override { return button_; }

  private:
    SettingSlots<bool> slots_;
    Gtk::CheckButton button_;
};

/// A colour of the form "#rrrrggggbbbb".
class SettingRowColor : public SettingRow {
  public:
    SettingRowColor(const std::string& label, const std::string& description,
                    SettingSlots<std::string> slots)
        : SettingRow(label, description), slots_(std::move(slots)) {}

    void show() override;
    void apply() override;
    [[nodiscard]] bool isDirty() const override;
    [[nodiscard]] Gtk::Widget& widget() override { return button_; }

  private:
    SettingSlots<std::string> slots_;
    Gtk::ColorButton button_;
};

/// Lays rows out: label, widget, and the description in small print below them.
class SettingGrid : public Gtk::Grid {
  public:
    SettingGrid();
    void addRow(SettingRow& row);

  private:
    int lines_ = 0;
    std::vector<std::unique_ptr<Gtk::Label>> labels_;
};

}  // namespace trelis
