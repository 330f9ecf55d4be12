#include "fuzz/Target.h"

/// Formats and texts: no format does harm, whatever the arguments, and a number that is read is
/// shown as the same again. A zero byte parts the format from the text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = Fuzz::ToView(data, size);
  const std::string bytes(input.substr(0, input.find('\0')));
  const std::string_view rest = input.substr(std::min(bytes.size() + 1, input.size()));
  const Vx::UniString text(bytes.c_str(), VxCharCodePlain);
  Vx::UniString other;
  other.Assign(rest, VxCharCodePlain);
  Vx::UniString word;
  short number = 0;
  __int64 again = 0;
  Fuzz::Require(other.Scanf(bytes.c_str(), &number, &word) <= 2, "no field counts twice");
  if (text.Scanf("%d", &number) == 1) {
    word.Printf("%d", number);
    Fuzz::Require(word.Scanf("%d", &again) == 1 && again == number, "a number comes back");
    Fuzz::Require(std::strtoll(bytes.c_str(), nullptr, 10) == number, "a number is that of C");
  }
  Vx::UniString shown;
  shown.Printf(bytes.c_str(), -1, other, 2.5e300, bytes.c_str(), 'c', u'u', rest);
  shown.Printf("%s", bytes.c_str());
  Fuzz::Require(shown == text, "an argument is no format");
  return 0;
}
