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

// The bases are virtual, because an exception of tarn::cvl derives from one of these classes and from
// tarn::cvl::Exception. An object with two std::exception bases would match no handler for std::exception.

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
