#pragma once

#include <string_view>

#include "foundation/Vx/CharCode.h"
#include "foundation/Vx/String.h"
#include "foundation/Vx/UniString.h"

namespace Vx {

/// Appends `text` in `code` to `target`. Throws as `UniString::ToBytes` says.
void EncodeText(std::u16string_view text, VxCharCode code, OnConversionError onError,
                String& target);

/// Appends what `bytes` say in `code` to `target`. Throws as `UniString::Assign` says.
void DecodeText(std::string_view bytes, VxCharCode code, UniString& target);

}  // namespace Vx
