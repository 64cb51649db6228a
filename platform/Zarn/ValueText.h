#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "Kestor/Ptr.h"
#include "Kestor/String.h"
#include "Zarn/CharRange.h"
#include "Zarn/EnumData.h"
#include "Zarn/Exception.h"

/// The generic text form of values: `Type(attribute=value,attribute=value)`, integers in decimal, enumerators
/// by name. What is written here is read back here, in the same order and with the same names.
namespace Zarn {

// Reading one value from a cursor. Each throws RangeException and says what it found.

void sequenceToValue(CharRange& text, std::uint32_t* value);

/// The longest run of letters and digits, at least one.
std::string_view takeName(CharRange& text);

template <RegisteredEnum E>
void enumFromText(CharRange& text, E* value) {
  *value = static_cast<E>(enumData(*value).code(takeName(text)));
}

namespace detail {
void takeBegin(CharRange& text, std::string_view type);
void takeAttributeName(CharRange& text, std::string_view attribute);
void takeSeparator(CharRange& text);
void takeEnd(CharRange& text);
[[noreturn]] void throwFailedToRead(std::string_view attribute, const Exception& why);

template <class T>
void attributeValue(CharRange& text, std::string_view attribute, T* value) {
  takeAttributeName(text, attribute);
  try {
    sequenceToValue(text, value);
  } catch (const RangeException& why) {
    throwFailedToRead(attribute, why);
  }
}
}  // namespace detail

/// Reads the type's name and its first attribute.
template <class T>
void valueBegin(CharRange& text, std::string_view type, std::string_view attribute, T* value) {
  detail::takeBegin(text, type);
  detail::attributeValue(text, attribute, value);
}

/// Reads an attribute after the separator.
template <class T>
void valueAttribute(CharRange& text, std::string_view attribute, T* value) {
  detail::takeSeparator(text);
  detail::attributeValue(text, attribute, value);
}

/// Reads the last attribute and the closing of the value.
template <class T>
void valueEnd(CharRange& text, std::string_view attribute, T* value) {
  valueAttribute(text, attribute, value);
  detail::takeEnd(text);
}

[[noreturn]] void throwUnreadCharacters(std::string_view whole, std::string_view rest);

/// Parses a whole string: any character left unread is an error. Throws RangeException.
template <class T>
T strepToValue(const Kestor::String& text) {
  CharRange cursor(text);
  T value(cursor);
  if (!cursor.empty()) throwUnreadCharacters(text, cursor.rest());
  return value;
}

// Writing one value.

template <class T>
void writeValue(std::ostream& os, const Kestor::Ptr<T>& value) {
  os << Kestor::shown(value);
}
template <class T>
void writeValue(std::ostream& os, const T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    os << (value ? "true" : "false");
  } else if constexpr (std::is_integral_v<T>) {
    os << std::to_string(value);  // decimal whatever the stream's flags and locale; 8 bits are a number too
  } else if constexpr (RegisteredEnum<T>) {
    os << enumText(value);
  } else {
    os << value;
  }
}

/// Writes a value's text form attribute by attribute; the destructor closes it.
class ValueWriter {
 public:
  ValueWriter(std::ostream& os, std::string_view type) : os_(os) { os_ << type << '('; }
  ValueWriter(const ValueWriter&) = delete;
  ValueWriter& operator=(const ValueWriter&) = delete;
  ~ValueWriter() { os_ << ')'; }

  template <class T>
  ValueWriter& attribute(std::string_view name, const T& value) {
    os_ << separator_ << name << '=';
    writeValue(os_, value);
    separator_ = ",";
    return *this;
  }

 private:
  std::ostream& os_;
  std::string_view separator_;
};

}  // namespace Zarn
