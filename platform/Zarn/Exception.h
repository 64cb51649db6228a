#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace Zarn {

/// Base of the framework's exceptions.
class Exception : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  ~Exception() override;
};

/// A value or a text lies outside what its type can hold.
class RangeException : public Exception {
 public:
  using Exception::Exception;
  ~RangeException() override;
};

/// An element exists already and was asked for with other constructor arguments.
class ReinstantiationException : public Exception {
 public:
  using Exception::Exception;
  ~ReinstantiationException() override;
};

/// A value that serves ordered collections only was hashed.
class UnhashableTypeException : public Exception {
 public:
  using Exception::Exception;
  ~UnhashableTypeException() override;
};

/// A name is not known to a registry: a type, an attribute, a path.
class NameNotFoundException : public Exception {
 public:
  using Exception::Exception;
  ~NameNotFoundException() override;
};

/// Raises ReinstantiationException, naming the row's type and the first attribute that differs.
[[noreturn]] void throwMutatorReinstantiating(std::string_view type, std::string_view attribute);

}  // namespace Zarn
