// Reads lines of text as the C library's scanf would.
#pragma once

#include <cstdint>
#include <string_view>

namespace trelis {

/// White space as C's isspace takes it in the locale "C".
constexpr bool isScanSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isScanDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Reads fields of a line from left to right by the rules of the C library's scanf (ISO C,
/// 7.21.6.2): fields skip white space in front of them, and blanks between fields match any run of
/// white space, also none. Free of locale. Once a field fails, all later ones do.
class FieldScanner {
  public:
    explicit FieldScanner(std::string_view line) : rest_(line) {}

    /// Matches any run of white space.
    FieldScanner& blanks();
    /// Matches these very characters.
    FieldScanner& literal(std::string_view text);
    /// A decimal number, with a sign if there is one, as its low 32 bits.
    FieldScanner& number(std::uint32_t& value);
    /// A floating-point number in any spelling that C knows.
    FieldScanner& real(double& value);
    /// One character, white space too.
    FieldScanner& character(char& value);
    /// Characters up to the next white space, at least one.
    FieldScanner& word(std::string_view& value);
    /// Characters up to the next `end`, at least one.
    FieldScanner& upTo(char end, std::string_view& value);

    [[nodiscard]] bool matched() const { return matched_; }
    /// What was not read yet; empty once a field failed.
    [[nodiscard]] std::string_view rest() const { return rest_; }

  private:
    FieldScanner& failed();

    std::string_view rest_;
    bool matched_ = true;
};

}  // namespace trelis
