// The rows of the virtual signal editor: each knows its key and how to read and write it.
#pragma once

#include <glibmm/keyfile.h>
#include <gtkmm/comboboxtext.h>
#include <gtkmm/entry.h>
#include <gtkmm/entrycompletion.h>
#include <gtkmm/grid.h>
#include <gtkmm/label.h>
#include <gtkmm/liststore.h>

#include <string>
#include <vector>

namespace trelis {

/// What a row of the form is about. The key is the text of its label.
struct RowText {
    std::string key;
    std::string hint;  ///< shown in the empty widget
    std::string help;  ///< tooltip
};

/// Main thread only. What a key file refuses comes through as Glib::KeyFileError; a text that is no
/// number is std::invalid_argument with a text for the user.
class InputRow {
  public:
    explicit InputRow(RowText text);
    InputRow(const InputRow&) = delete;
    InputRow& operator=(const InputRow&) = delete;
    virtual ~InputRow() = default;

    /// Puts label and widget side by side and shows them.
    void place(Gtk::Grid& grid, int line);
    virtual void show();
    virtual void hide();
    virtual Gtk::Label& label() { return label_; }
    virtual Gtk::Widget& widget() = 0;
    /// Brings the widget to the value that holds without the key.
    virtual void showDefault() = 0;
    virtual void clear() = 0;
    /// Fills the widget from the key, or from its second spelling; clears it if the group has
    /// neither.
    virtual void load(const Glib::KeyFile& keyFile, const std::string& group);
    /// Writes the key, unless there is nothing to write.
    virtual void save(Glib::KeyFile& keyFile, const std::string& group) const = 0;

    [[nodiscard]] const std::string& key() const { return text_.key; }
    [[nodiscard]] const RowText& text() const { return text_; }
    /// Another spelling that files of old may hold. `first`: it wins over the key.
    void setAlternative(const std::string& key, bool first);

  protected:
    virtual void loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                          const std::string& key) = 0;
    void describe(Gtk::Widget& widget) const;

  private:
    RowText text_;
    std::vector<std::string> spellings_;  // in the order in which they are looked for
    Gtk::Label label_;
};

class EntryBool : public InputRow {
  public:
    explicit EntryBool(RowText text, bool defaultValue = false);
    Gtk::Widget& widget() override { return box_; }
    void showDefault() override { setValue(default_); }
    void clear() override { setValue(default_); }
    void save(Glib::KeyFile& keyFile, const std::string& group) const override;
    [[nodiscard]] bool value() const { return box_.get_active_row_number() == 1; }
    void setValue(bool value) { box_.set_active(value ? 1 : 0); }

  protected:
    void loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                  const std::string& key) override;

  private:
    bool default_;
    Gtk::ComboBoxText box_;
};

/// A row with a line of text, which stands for nothing while it is empty.
class EntryString : public InputRow {
  public:
    explicit EntryString(RowText text);
    Gtk::Widget& widget() override { return entry_; }
    void showDefault() override { clear(); }
    void clear() override { setValue({}); }
    void save(Glib::KeyFile& keyFile, const std::string& group) const override;
    [[nodiscard]] std::string value() const { return entry_.get_text(); }
    virtual void setValue(const std::string& value) { entry_.set_text(value); }
    [[nodiscard]] Gtk::Entry& entry() { return entry_; }

  protected:
    void loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                  const std::string& key) override;

  private:
    Gtk::Entry entry_;
};

/// A number, which keeps the digits of the file as long as nobody changes its text.
class EntryNumber : public EntryString {
  public:
    using EntryString::EntryString;
    void save(Glib::KeyFile& keyFile, const std::string& group) const override;
    void setValue(const std::string& value) override;

  protected:
    /// Shows a number that stands in the file as `raw`.
    void showLoaded(const std::string& shown, const std::string& raw);

  private:
    /// The text as the key file has it.
    [[nodiscard]] virtual std::string readNumber(const std::string& text) const = 0;

    std::string loadedText_;  // as shown
    std::string loadedRaw_;   // as in the file
};

/// A 32-bit integer.
class EntryInt : public EntryNumber {
  public:
    using EntryNumber::EntryNumber;

  protected:
    void loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                  const std::string& key) override;

  private:
    [[nodiscard]] std::string readNumber(const std::string& text) const override;
};

class EntryFloat : public EntryNumber {
  public:
    using EntryNumber::EntryNumber;

  protected:
    void loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                  const std::string& key) override;

  private:
    [[nodiscard]] std::string readNumber(const std::string& text) const override;
};

/// The name of the group, which is no key of it.
class EntryName : public EntryString {
  public:
    using EntryString::EntryString;
    void load(const Glib::KeyFile& keyFile, const std::string& group) override;
    void save(Glib::KeyFile& keyFile, const std::string& group) const override;
};

/// The columns of the list of full signal paths.
struct SigListModCols : public Gtk::TreeModel::ColumnRecord {
    SigListModCols() { add(path); }
    Gtk::TreeModelColumn<Glib::ustring> path;
};

/// The path of a signal, completed from a list.
class EntrySignal : public EntryString {
  public:
    using EntryString::EntryString;
    void setCompletion(const Glib::RefPtr<Gtk::ListStore>& model, const SigListModCols& columns);
};

/// One of a fixed list of words.
class EntryDropDwn : public InputRow {
  public:
    EntryDropDwn(RowText text, const std::vector<std::string>& choices);
    Gtk::Widget& widget() override { return box_; }
    void showDefault() override { box_.set_active(0); }
    void clear() override { box_.set_active(0); }
    void save(Glib::KeyFile& keyFile, const std::string& group) const override;
    [[nodiscard]] std::string value() const { return box_.get_active_text(); }
    void setValue(const std::string& value);
    [[nodiscard]] Glib::SignalProxy<void> signalChanged() { return box_.signal_changed(); }

  protected:
    void loadFrom(const Glib::KeyFile& keyFile, const std::string& group,
                  const std::string& key) override;

  private:
    Gtk::ComboBoxText box_;
};

}  // namespace trelis
