#pragma once

/// Numeric code of a byte encoding.
enum VxCharCode : int {
  /// ISO 8859-1: unit and byte have the same value.
  VxCharCodePlain = 0,
  /// UTF-8 (RFC 3629) for people to read: a lone surrogate is shown as U+FFFD.
  VxCharCodeDebug = 11,
  /// The modified UTF-8 of Java's data streams: U+0000 is C0 80, and each 16-bit unit is encoded
  /// for itself, so that every sequence of units comes back unchanged. Decoding also takes the
  /// four-byte sequences of RFC 3629.
  VxCharCodeUTF = 99,
};

/// What a conversion to bytes does with a unit that the encoding does not have.
enum OnConversionError : int {
  /// Throw `Vx::ConversionErrorException`.
  OnConversionErrorFail = 0,
  /// Put a question mark instead.
  OnConversionErrorReplace = 1,
};
