#pragma once

#include "common/exceptions.h"

#include <cstdint>
#include <string>

namespace tarn::cvl
{

/// A failed call of the vision library.
///
/// Where tarn::common has an exception of the same name, the class derives from it as well, so a handler can
/// catch either. The bases are virtual: with two copies of a base, no handler for it would match.
class Exception : public virtual common::Exception
{
public:
    Exception(const std::string &message, int32_t code) : common::Exception(message), m_code(code) {}

    /// The library's status.
    int32_t Code() const { return m_code; }

private:
    int32_t m_code;
};

class InvalidConfigurationException : public Exception
{
public:
    InvalidConfigurationException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code)
    {
    }
};

class NullPointerException : public Exception
{
public:
    NullPointerException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code)
    {
    }
};

class MismatchException : public Exception
{
public:
    MismatchException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code)
    {
    }
};

class NotSupportedException : public Exception, public common::NotSupportedException
{
public:
    NotSupportedException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code), common::NotSupportedException(message)
    {
    }
};

class NotPossibleException : public Exception
{
public:
    NotPossibleException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code)
    {
    }
};

class OutOfRangeException : public Exception, public common::OutOfRangeException
{
public:
    OutOfRangeException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code), common::OutOfRangeException(message)
    {
    }
};

class MathErrorException : public Exception
{
public:
    MathErrorException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code)
    {
    }
};

class TargetNotFoundException : public Exception
{
public:
    TargetNotFoundException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code)
    {
    }
};

class CorruptedException : public Exception
{
public:
    CorruptedException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code)
    {
    }
};

class IOException : public Exception, public common::IOException
{
public:
    IOException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code), common::IOException(message)
    {
    }
};

class InternalErrorException : public Exception, public common::InternalErrorException
{
public:
    InternalErrorException(const std::string &message, int32_t code)
        : common::Exception(message), Exception(message, code), common::InternalErrorException(message)
    {
    }
};

} // namespace tarn::cvl
