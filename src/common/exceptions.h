#pragma once

#include <stdexcept>
#include <string>

namespace tarn::common
{

/// Base of the exceptions of the value types.
class Exception : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The bases are virtual: the vision library's exceptions derive from one of these and from a base of their
// own. With two std::exception bases in an object, no handler for std::exception would match.

class InvalidParameterException : public virtual Exception
{
public:
    explicit InvalidParameterException(const std::string &message) : Exception(message) {}
};

class InvalidCastException : public virtual Exception
{
public:
    explicit InvalidCastException(const std::string &message) : Exception(message) {}
};

class OutOfRangeException : public virtual Exception
{
public:
    explicit OutOfRangeException(const std::string &message) : Exception(message) {}
};

class NotSupportedException : public virtual Exception
{
public:
    explicit NotSupportedException(const std::string &message) : Exception(message) {}
};

class IOException : public virtual Exception
{
public:
    explicit IOException(const std::string &message) : Exception(message) {}
};

class InternalErrorException : public virtual Exception
{
public:
    explicit InternalErrorException(const std::string &message) : Exception(message) {}
};

} // namespace tarn::common
