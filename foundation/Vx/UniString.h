#pragma once

#include <compare>
#include <concepts>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include "foundation/Export.h"
#include "foundation/Vx/BasicString.h"
#include "foundation/Vx/CharCode.h"
#include "foundation/Vx/Format.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/Object.h"
#include "foundation/Vx/Scan.h"
#include "foundation/Vx/String.h"
#include "foundation/Vx/Types.h"

namespace Vx {

/// What a `UniString` takes for UTF-8.
template <class T>
concept UTF8Text =
    std::same_as<T, const char*> || std::same_as<T, char*> || std::same_as<T, std::string_view> ||
    std::same_as<T, const char8_t*> || std::same_as<T, std::u8string_view>;

/// A string of 16-bit units: UTF-16, in which lone surrogates are allowed. A value; see
/// `BasicString` for counts, indexes and the operations shared with `String`.
class FOUNDATION_API UniString final : public Object, public BasicString<UniChar> {
 public:
  UniString() noexcept;
  UniString(View text);
  /// Null counts as empty.
  UniString(const UniChar* text);
  UniString(const std::u16string& text) : UniString(View(text)) {}
  /// Decodes UTF-8, as `FromUTF8` does; a null pointer counts as empty.
  template <UTF8Text Text>
  UniString(Text text) : UniString(FromUTF8(ToByteView(text))) {}
  UniString(const std::string& text) : UniString(FromUTF8(text)) {}
  UniString(const std::u8string& text) : UniString(std::u8string_view(text)) {}
  /// Decodes a zero-terminated byte text; null counts as empty. Throws `ConversionErrorException`
  /// for bytes that are malformed in `code`.
  UniString(const char* text, VxCharCode code);
  UniString(const UniString& source);
  UniString(UniString&& source) noexcept;
  UniString& operator=(const UniString& source);
  UniString& operator=(UniString&& source) noexcept;
  ~UniString() override;

  /// Implicitly a view, so that a text can be passed wherever 16-bit text is taken.
  operator View() const noexcept { return GetView(); }
  operator std::u16string() const { return std::u16string(GetView()); }

  using BasicString::Append;
  using BasicString::Assign;

  /// Decodes bytes in `code`. Throws `ConversionErrorException` for malformed bytes,
  /// `IllegalArgumentException` for a code that does not exist; the text is then as it was.
  void Assign(std::string_view bytes, VxCharCode code);
  void Append(std::string_view bytes, VxCharCode code);

  /// At most `count` units from `start` on.
  [[nodiscard]] UniString GetSubstring(unsigned int start, unsigned int count = ToEnd) const {
    return UniString(SubView(start, count));
  }

  /// The units from `start` on, at most `count`, as bytes in `code`. Throws
  /// `ConversionErrorException` for a unit that `code` does not have, where `onError` says so.
  [[nodiscard]] String ToBytes(unsigned int start, unsigned int count, VxCharCode code,
                               OnConversionError onError) const;

  /// The same as a zero-terminated byte text, which the caller owns.
  [[nodiscard]] ByteArray ToCStr(unsigned int start, unsigned int count, VxCharCode code,
                                 OnConversionError onError) const;

  /// From and to UTF-8 (RFC 3629). Decoding throws `ConversionErrorException` for malformed bytes;
  /// encoding shows a lone surrogate as U+FFFD.
  [[nodiscard]] static UniString FromUTF8(std::string_view bytes);
  [[nodiscard]] std::string ToUTF8() const;

  /// A hash of the units, keyed with a value drawn once per process: it differs from run to run,
  /// and is resistant to hash flooding. Never persist it.
  [[nodiscard]] unsigned int GenerateHashValue() const noexcept;

  /// What the directive `%T` of `Printf` takes.
  [[nodiscard]] View ToPrintf() const noexcept { return GetView(); }

  /// Replaces the text by `format` with the arguments filled in; see `FormatText` for the
  /// directives. An argument may show this text itself.
  template <class... Arguments>
  void Printf(const char* format, const Arguments&... arguments) {
    UniString result;
    result.AppendPrintf(format, arguments...);
    *this = std::move(result);
  }

  /// Appends `format` with the arguments filled in.
  template <class... Arguments>
  void AppendPrintf(const char* format, const Arguments&... arguments) {
    if constexpr (sizeof...(Arguments) == 0) {
      AppendFormat(format, nullptr, 0);
    } else {
      const FormatArgument list[] = {FormatArgument(arguments)...};
      AppendFormat(format, list, sizeof...(Arguments));
    }
  }

  /// Reads values from the text by `format` and returns the number of fields converted; see
  /// `ScanText` for the directives. A field that is not converted leaves its value untouched.
  template <class... Values>
  [[nodiscard]] unsigned int Scanf(const char* format, Values*... values) const {
    if constexpr (sizeof...(Values) == 0) {
      return ScanText(GetView(), format, nullptr, 0);
    } else {
      const ScanTarget list[] = {ScanTarget(values)...};
      return ScanText(GetView(), format, list, sizeof...(Values));
    }
  }

  /// As a value on a status channel: the number of units and then the units, through the
  /// channel's protocol.
  [[nodiscard]] int ReadFrom(IChannel& channel) override;
  [[nodiscard]] int WriteTo(OChannel& channel) const override;

  friend bool operator==(const UniString& left, const UniString& right) noexcept {
    return left.GetView() == right.GetView();
  }
  friend bool operator==(const UniString& left, const UniChar* right) noexcept {
    return left.GetView() == (right == nullptr ? View() : View(right));
  }
  /// With a `std::u16string` or a view.
  template <class Text>
  requires std::same_as<Text, View> || std::same_as<Text, std::u16string>
  friend bool operator==(const UniString& left, const Text& right) noexcept {
    return left.GetView() == View(right);
  }
  template <class Text>
  requires std::same_as<Text, View> || std::same_as<Text, std::u16string>
  friend std::strong_ordering operator<=>(const UniString& left, const Text& right) noexcept {
    return left.GetView() <=> View(right);
  }
  /// Orders by the values of the units.
  friend std::strong_ordering operator<=>(const UniString& left, const UniString& right) noexcept {
    return left.GetView() <=> right.GetView();
  }

  friend UniString operator+(UniString left, View right) {
    left.Append(right);
    return left;
  }

  /// As UTF-8.
  friend FOUNDATION_API std::ostream& operator<<(std::ostream& stream, const UniString& text);

 private:
  static std::string_view ToByteView(const char* text) noexcept {
    return text == nullptr ? std::string_view() : std::string_view(text);
  }
  static std::string_view ToByteView(std::string_view text) noexcept { return text; }
  static std::string_view ToByteView(const char8_t* text) noexcept {
    return ToByteView(reinterpret_cast<const char*>(text));
  }
  static std::string_view ToByteView(std::u8string_view text) noexcept {
    return {reinterpret_cast<const char*>(text.data()), text.size()};
  }
  void AppendFormat(const char* format, const FormatArgument* arguments, std::size_t count);
};

}  // namespace Vx

/// The keyed hash of `GenerateHashValue`.
template <>
struct std::hash<Vx::UniString> {
  [[nodiscard]] std::size_t operator()(const Vx::UniString& text) const noexcept {
    return text.GenerateHashValue();
  }
};
