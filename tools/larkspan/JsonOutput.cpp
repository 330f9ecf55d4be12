#include "tools/larkspan/JsonOutput.h"

#include <cstdio>

#include <nlohmann/json.hpp>

#include "Larkspan/Common/Base64.h"
#include "foundation/Vx/Memory.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Json = nlohmann::ordered_json;

// Goes up where a key gets another meaning or goes away, not where one is added.
constexpr int SchemaVersion = 1;

std::string ToBase64(std::string_view bytes) {
  char* text = nullptr;
  unsigned int size = 0;
  Larkspan::Common::Base64::Encode(bytes.data(), static_cast<unsigned int>(bytes.size()), &text,
                                   &size);
  const Vx::ByteArray owner(text);
  return {text, size};
}

void PutTextInto(Json& object, const std::string& key, Vx::UniString::View text) {
  std::string unicode = Vx::UniString(text).ToUTF8();
  const bool isUnicode = Vx::UniString::FromUTF8(unicode) == text;
  object[key] = std::move(unicode);
  if (!isUnicode) object[key + "Base64"] = ToBase64(ToBytes(text));
}

}  // namespace

struct JsonObject::Value {
  Value() : object(Json::object()) {}

  Json object;
};

JsonObject::JsonObject(const char* kind) : value(std::make_unique<Value>()) {
  value->object["version"] = SchemaVersion;
  value->object["object"] = kind;
}

JsonObject::~JsonObject() = default;

JsonObject& JsonObject::Put(const char* key, std::string_view text) {
  value->object[key] = text;
  return *this;
}

JsonObject& JsonObject::Put(const char* key, unsigned __int64 number) {
  value->object[key] = number;
  return *this;
}

JsonObject& JsonObject::Put(const char* key, int number) {
  value->object[key] = number;
  return *this;
}

JsonObject& JsonObject::Put(const char* key, double number) {
  value->object[key] = number;
  return *this;
}

JsonObject& JsonObject::Put(const char* key, bool isTrue) {
  value->object[key] = isTrue;
  return *this;
}

JsonObject& JsonObject::Put(const char* key, const std::vector<std::string>& words) {
  value->object[key] = words;
  return *this;
}

JsonObject& JsonObject::PutText(const char* key, Vx::UniString::View text) {
  PutTextInto(value->object, key, text);
  return *this;
}

JsonObject& JsonObject::PutTime(const ::IO::Attributes& attributes) {
  const std::string calendar = ToCalendar(attributes.modifiedSeconds);
  if (calendar != "-") {
    char fraction[16];
    std::snprintf(fraction, sizeof(fraction), ".%09uZ", attributes.modifiedNanoseconds);
    std::string text = calendar + fraction;
    text[text.find(' ')] = 'T';
    value->object["modified"] = std::move(text);
  }
  value->object["modifiedSeconds"] = attributes.modifiedSeconds;
  value->object["modifiedNanoseconds"] = attributes.modifiedNanoseconds;
  return *this;
}

JsonObject& JsonObject::PutAccount(const char* key, unsigned int number,
                                   const Vx::UniString& name) {
  Json& account = value->object[key];
  account["number"] = number;
  if (!name.IsEmpty()) PutTextInto(account, "name", name.GetView());
  return *this;
}

JsonObject& JsonObject::AddHeader(Vx::UniString::View name, Vx::UniString::View text) {
  Json header;
  PutTextInto(header, "name", name);
  PutTextInto(header, "value", text);
  value->object["headers"].push_back(std::move(header));
  return *this;
}

std::string JsonObject::ToLine() const {
  constexpr bool asciiOnly = true;  // nothing that a terminal would obey
  return value->object.dump(-1, ' ', asciiOnly, Json::error_handler_t::replace) + "\n";
}

}  // namespace Tool
