#include "check/info_rules.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace gentlctl
{

using namespace GenTL;

namespace
{

/// Short names, for the tables below.
enum AnswerType : INFO_DATATYPE
{
    Text = INFO_DATATYPE_STRING,
    Int32 = INFO_DATATYPE_INT32,
    Uint32 = INFO_DATATYPE_UINT32,
    Uint64 = INFO_DATATYPE_UINT64,
    Size = INFO_DATATYPE_SIZET,
    Bool = INFO_DATATYPE_BOOL8,
    Pointer = INFO_DATATYPE_PTR,
    Bytes = INFO_DATATYPE_BUFFER
};

// In the order of the commands, which is that of the enumerators.
constexpr std::array<INFO_DATATYPE, 11> systemTypes{Text, Text, Text,  Text,   Text,  Text,
                                                    Text, Text, Int32, Uint32, Uint32};
constexpr std::array<INFO_DATATYPE, 3> interfaceTypes{Text, Text, Text};
constexpr std::array<INFO_DATATYPE, 10> deviceTypes{Text,  Text, Text, Text, Text,
                                                    Int32, Text, Text, Text, Uint64};
constexpr std::array<INFO_DATATYPE, 16> streamTypes{Text, Uint64, Uint64, Size, Size, Size, Uint64, Size,
                                                    Bool, Bool,   Text,   Size, Size, Size, Bytes,  Bytes};
constexpr std::array<INFO_DATATYPE, 32> bufferTypes{
    Pointer, Size, Pointer, Uint64, Bool,  Bool,   Bool,   Bool, Text, Size,   Size,
    Size,    Size, Size,    Size,   Size,  Uint64, Bool,   Size, Size, Uint64, Uint64,
    Size,    Size, Uint64,  Text,   Int32, Size,   Uint64, Bool, Bool, Bool};
constexpr std::array<INFO_DATATYPE, 14> partTypes{Pointer, Size, Size, Uint64, Uint64, Size,   Size,
                                                  Size,    Size, Size, Uint64, Size,   Uint64, Uint64};
constexpr std::array<INFO_DATATYPE, 13> portTypes{Text, Text, Text, Text, Text, Bool, Bool,
                                                  Bool, Bool, Bool, Bool, Text, Text};
constexpr std::array<INFO_DATATYPE, 11> urlTypes{Text,  Int32,  Int32,  Int32, Int32, Int32,
                                                 Bytes, Uint64, Uint64, Int32, Text};
constexpr std::array<INFO_DATATYPE, 5> eventTypes{Int32, Size, Uint64, Size, Size};

constexpr std::array<InfoCommand, 5> eventInfoCommands{
    InfoCommand{EVENT_EVENT_TYPE, "EVENT_EVENT_TYPE"},
    InfoCommand{EVENT_NUM_IN_QUEUE, "EVENT_NUM_IN_QUEUE"},
    InfoCommand{EVENT_NUM_FIRED, "EVENT_NUM_FIRED"},
    InfoCommand{EVENT_SIZE_MAX, "EVENT_SIZE_MAX"},
    InfoCommand{EVENT_INFO_DATA_SIZE_MAX, "EVENT_INFO_DATA_SIZE_MAX"},
};

constexpr std::array<std::string_view, 15> typeNames{"UNKNOWN", "STRING", "STRINGLIST", "INT16",  "UINT16",
                                                     "INT32",   "UINT32", "INT64",      "UINT64", "FLOAT64",
                                                     "PTR",     "BOOL8",  "SIZET",      "BUFFER", "PTRDIFF"};

// Below the numbers of the producers' own commands.
constexpr int32_t unknownCommand = 999;

constexpr uint8_t untouched = 0xA5;
constexpr size_t guardBytes = 64;
constexpr size_t absurdSize = size_t{1} << 30U;

std::string NameOfType(INFO_DATATYPE type)
{
    return type >= 0 && static_cast<size_t>(type) < typeNames.size()
               ? std::string(typeNames.at(static_cast<size_t>(type)))
               : fmt::format("{}", type);
}

/// Bytes of an answer of a type; 0 when the type has no fixed size.
size_t BytesOf(INFO_DATATYPE type)
{
    switch (type)
    {
    case INFO_DATATYPE_BOOL8:
        return 1;
    case INFO_DATATYPE_INT32:
    case INFO_DATATYPE_UINT32:
        return 4;
    case INFO_DATATYPE_INT64:
    case INFO_DATATYPE_UINT64:
    case INFO_DATATYPE_SIZET:
    case INFO_DATATYPE_PTR:
        return 8;
    default:
        return 0;
    }
}

/// Memory for an answer, with bytes behind it that must stay as they are.
class GuardedAnswer
{
public:
    explicit GuardedAnswer(size_t size) : m_size(size), m_bytes(size + guardBytes, untouched) {}

    uint8_t *Data() { return m_bytes.data(); }
    bool IsGuardUntouched() const
    {
        return std::all_of(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_size), m_bytes.end(),
                           [](uint8_t byte) { return byte == untouched; });
    }
    /// Whether the answer ends with its first zero.
    bool IsText() const
    {
        return m_size != 0 && std::memchr(m_bytes.data(), 0, m_size) == m_bytes.data() + m_size - 1;
    }

private:
    size_t m_size;
    std::vector<uint8_t> m_bytes;
};

/// One command of one module.
struct Question
{
    Trial &trial;
    const AskInfo &ask;
    std::string call; ///< "TLGetInfo(TL_INFO_ID)"
    int32_t command;
    INFO_DATATYPE type;
};

const Verdict misread{Level::WillHurt, "consumers that read the answer as the standard says",
                      "answer with the type that the standard gives the command"};
const Verdict overruns{Level::Broken, "every consumer: memory behind its buffer is overwritten",
                       "compare *piSize with the size of the answer before you copy"};

void CheckRefusal(const Question &question, GC_ERROR code)
{
    if (code == GC_ERR_ERROR)
    {
        question.trial.Add(
            question.call, question.trial.Failure(code),
            {Level::WillHurt, "consumers that tell \"unknown\" from \"failed\"",
             "return GC_ERR_NOT_IMPLEMENTED or GC_ERR_NOT_AVAILABLE for what you do not know"});
    }
}

void CheckSizeQuery(const Question &question, INFO_DATATYPE type, size_t size)
{
    if (type != question.type)
    {
        question.trial.Add(
            question.call,
            fmt::format("has the type {}; {} is published", NameOfType(type), NameOfType(question.type)),
            misread);
    }
    const auto expected = BytesOf(type);
    if (expected != 0 && size != expected)
    {
        question.trial.Add(question.call, fmt::format("has {} bytes for the type {}", size, NameOfType(type)),
                           {Level::Broken, "consumers that hand in a variable of the type",
                            fmt::format("answer {} bytes", expected)});
    }
}

void CheckExactBuffer(const Question &question, size_t size)
{
    GuardedAnswer answer(size);
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t told = size;
    const auto code = question.ask(question.command, &type, answer.Data(), &told);
    if (!question.trial.Must(question.call + " with the size that it told", code,
                             {Level::Broken, "every consumer: it never gets the answer",
                              "take a buffer of the size that a null buffer is told"}))
    {
        return;
    }
    if (!answer.IsGuardUntouched())
    {
        question.trial.Add(question.call, "writes behind the size that it told", overruns);
    }
    if (type == INFO_DATATYPE_STRING && !answer.IsText())
    {
        question.trial.Add(question.call, "is a text that does not end with its size",
                           {Level::WillHurt, "consumers that take the size for the length",
                            "end the text with a zero, and count the zero in the size"});
    }
}

void CheckShortBuffer(const Question &question, size_t size)
{
    GuardedAnswer answer(size - 1);
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t told = size - 1;
    const auto code = question.ask(question.command, &type, answer.Data(), &told);
    if (!answer.IsGuardUntouched())
    {
        question.trial.Add(question.call, "writes behind a buffer that is too small", overruns);
    }
    question.trial.MustFail(question.call + " with a buffer that is too small", code,
                            {GC_ERR_BUFFER_TOO_SMALL},
                            {Level::Broken, "consumers that take half an answer for a whole one",
                             "return GC_ERR_BUFFER_TOO_SMALL"});
}

void CheckAnswer(const Question &question)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    const auto code = question.ask(question.command, &type, nullptr, &size);
    if (code != GC_ERR_SUCCESS)
    {
        CheckRefusal(question, code);
        return;
    }
    if (size > absurdSize)
    {
        question.trial.Add(question.call, fmt::format("tells a size of {} bytes", size),
                           {Level::Broken, "every consumer: it cannot get the memory",
                            "set *piSize to the size of the answer when pBuffer is null"});
        return;
    }
    CheckSizeQuery(question, type, size);
    CheckExactBuffer(question, size);
    if (size > 0)
    {
        CheckShortBuffer(question, size);
    }
}

void CheckUnknownCommand(const Question &question)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    question.trial.MustFail(question.call, question.ask(question.command, &type, nullptr, &size),
                            {GC_ERR_NOT_IMPLEMENTED, GC_ERR_INVALID_PARAMETER, GC_ERR_NOT_AVAILABLE},
                            {Level::WillHurt, "consumers of a later version of the standard",
                             "return GC_ERR_NOT_IMPLEMENTED for a command that you do not know"});
}

} // namespace

InfoTable SystemInfos(std::string function)
{
    return {std::move(function), SystemInfoCommands(), systemTypes};
}

InfoTable InterfaceInfos(std::string function)
{
    return {std::move(function), InterfaceInfoCommands(), interfaceTypes};
}

InfoTable DeviceInfos(std::string function)
{
    return {std::move(function), DeviceInfoCommands(), deviceTypes};
}

InfoTable StreamInfos(std::string function)
{
    return {std::move(function), StreamInfoCommands(), streamTypes};
}

InfoTable BufferInfos(std::string function)
{
    return {std::move(function), BufferInfoCommands(), bufferTypes};
}

InfoTable BufferPartInfos(std::string function)
{
    return {std::move(function), BufferPartInfoCommands(), partTypes};
}

InfoTable PortInfos(std::string function)
{
    return {std::move(function), PortInfoCommands(), portTypes};
}

InfoTable UrlInfos(std::string function)
{
    return {std::move(function), UrlInfoCommands(), urlTypes};
}

InfoTable EventInfos(std::string function)
{
    return {std::move(function), eventInfoCommands, eventTypes};
}

void CheckInfoRules(Trial &trial, const InfoTable &table, const AskInfo &ask)
{
    for (size_t i = 0; i < table.commands.size(); ++i)
    {
        CheckAnswer({trial, ask, fmt::format("{}({})", table.function, table.commands[i].name),
                     table.commands[i].command, table.types[i]});
    }
    CheckUnknownCommand({trial, ask, fmt::format("{} with an unknown command", table.function),
                         unknownCommand, INFO_DATATYPE_UNKNOWN});
}

} // namespace gentlctl
