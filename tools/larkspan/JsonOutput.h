#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/IO/Attributes.h"
#include "foundation/Vx/Types.h"
#include "foundation/Vx/UniString.h"

namespace Tool {

/// An object of what the tool prints for programs, on one line of ASCII. `docs/json.md` has all of
/// them.
class JsonObject final {
 public:
  /// `kind` is the value of the key "object", which stands behind the version.
  explicit JsonObject(const char* kind);
  JsonObject(const JsonObject&) = delete;
  JsonObject& operator=(const JsonObject&) = delete;
  ~JsonObject();

  /// What is no UTF-8 in `text` becomes U+FFFD.
  JsonObject& Put(const char* key, std::string_view text);
  JsonObject& Put(const char* key, const char* text) { return Put(key, std::string_view(text)); }
  JsonObject& Put(const char* key, unsigned __int64 number);
  JsonObject& Put(const char* key, unsigned int number) {
    return Put(key, static_cast<unsigned __int64>(number));
  }
  JsonObject& Put(const char* key, int number);
  JsonObject& Put(const char* key, double number);
  JsonObject& Put(const char* key, bool value);
  JsonObject& Put(const char* key, const std::vector<std::string>& words);
  /// A text that is no Unicode is also put as its bytes in Base64 under `key` with "Base64" behind.
  JsonObject& PutText(const char* key, Vx::UniString::View text);
  /// The time of change: "modified" in ISO 8601, unless no calendar has it, and two numbers.
  JsonObject& PutTime(const ::IO::Attributes& attributes);
  /// `number`, and the name unless it is empty.
  JsonObject& PutAccount(const char* key, unsigned int number, const Vx::UniString& name);
  /// A pair of the object under "headers".
  JsonObject& AddHeader(Vx::UniString::View name, Vx::UniString::View value);

  /// With a line break at the end.
  [[nodiscard]] std::string ToLine() const;

 private:
  struct Value;

  const std::unique_ptr<Value> value;
};

}  // namespace Tool
