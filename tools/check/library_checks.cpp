// The library as a whole: its life, its version, its last error.

#include "check/answers.h"
#include "check/check.h"

#include <fmt/format.h>

namespace gentlctl
{

using namespace GenTL;

namespace
{

constexpr int restarts = 3;

RawQuery LibraryInfo(Calls &calls, TL_INFO_CMD command)
{
    return [&calls, command](INFO_DATATYPE *type, void *buffer, size_t *size)
    { return calls.GCGetInfo(command, type, buffer, size); };
}

void NeedsInitialisation(Bench &bench)
{
    bench.session.CloseLibrary();
    TL_HANDLE system = nullptr;
    bench.trial.MustFail("TLOpen before GCInitLib", bench.calls.TLOpen(&system), {GC_ERR_NOT_INITIALIZED},
                         {Level::WillHurt, "consumers that ask whether another part has initialised",
                          "return GC_ERR_NOT_INITIALIZED from every call before GCInitLib"});
}

void Initialises(Bench &bench)
{
    bench.session.CloseLibrary();
    const auto code = bench.calls.GCInitLib();
    if (bench.trial.Must("GCInitLib", code,
                         {Level::Broken, "every consumer: it sees no camera",
                          "read the text; `gentlctl doctor` looks for what is missing on this machine"}))
    {
        bench.calls.GCCloseLib();
    }
}

void InitialisesOnce(Bench &bench)
{
    bench.session.Library();
    bench.trial.MustFail("the second GCInitLib", bench.calls.GCInitLib(), {GC_ERR_RESOURCE_IN_USE},
                         {Level::WillHurt, "two consumers in one process: the first GCCloseLib ends both",
                          "return GC_ERR_RESOURCE_IN_USE until GCCloseLib"});
}

void ClosesOnce(Bench &bench)
{
    bench.session.Library();
    bench.session.CloseLibrary();
    bench.trial.MustFail(
        "the second GCCloseLib", bench.calls.GCCloseLib(), {GC_ERR_NOT_INITIALIZED},
        {Level::WillHurt, "consumers that count on the error", "return GC_ERR_NOT_INITIALIZED"});
}

void StartsAgain(Bench &bench)
{
    for (int i = 0; i < restarts; ++i)
    {
        bench.session.CloseLibrary();
        const auto code = bench.calls.GCInitLib();
        if (!bench.trial.Must(fmt::format("GCInitLib for the {}. time", i + 1), code,
                              {Level::Broken, "consumers that open the producer again, such as Harvesters",
                               "let GCCloseLib put everything back to where it was before GCInitLib"}))
        {
            return;
        }
        bench.calls.GCCloseLib();
    }
}

void TellsItsVersion(Bench &bench)
{
    bench.session.Library();
    const auto major = AnswerOf<uint32_t>(LibraryInfo(bench.calls, TL_INFO_GENTL_VER_MAJOR));
    const auto minor = AnswerOf<uint32_t>(LibraryInfo(bench.calls, TL_INFO_GENTL_VER_MINOR));
    if (!major || !minor)
    {
        bench.trial.Add("GCGetInfo(TL_INFO_GENTL_VER_MAJOR)", "gives no version",
                        {Level::WillHurt, "consumers that take functions by version",
                         "answer TL_INFO_GENTL_VER_MAJOR and TL_INFO_GENTL_VER_MINOR as UINT32"});
        return;
    }
    if (*major != 1)
    {
        bench.trial.Add("GCGetInfo(TL_INFO_GENTL_VER_MAJOR)", fmt::format("gives {}", *major),
                        {Level::Broken, "consumers that take functions by version", "answer 1"});
    }
    for (const auto &function : PublishedFunctions())
    {
        if (function.minor <= static_cast<int>(*minor) && !bench.calls.Has(function.name))
        {
            bench.trial.Add(
                std::string(function.name),
                fmt::format("is missing, and the producer says that it is of GenTL {}.{}", *major, *minor),
                {Level::Broken, "consumers that bind all functions of that version",
                 fmt::format("export {}, or answer the version that the exports have", function.name)});
        }
    }
}

void ExplainsFailures(Bench &bench)
{
    auto *const system = bench.session.System();
    IF_HANDLE interface = nullptr;
    const auto code = bench.calls.TLOpenInterface(system, "no interface has this id", &interface);
    GC_ERROR last = GC_ERR_SUCCESS;
    size_t size = 0;
    const Verdict verdict{Level::WillHurt, "users: all four consumers show this text word by word",
                          "keep code and text of the last failure of each thread"};
    if (!bench.trial.Must("GCGetLastError", bench.calls.GCGetLastError(&last, nullptr, &size), verdict))
    {
        return;
    }
    if (code != GC_ERR_SUCCESS && last != code)
    {
        bench.trial.Add("GCGetLastError",
                        fmt::format("tells {} after a call that gave {}", CodeName(last), CodeName(code)),
                        verdict);
    }
    if (code != GC_ERR_SUCCESS && bench.calls.LastErrorText().empty())
    {
        bench.trial.Add("GCGetLastError", "has no text for a failed call", verdict);
    }
}

} // namespace

ChecksOf LibraryChecks()
{
    return {
        {"library", "GCInitLib succeeds", Initialises},
        {"library", "nothing works before GCInitLib", NeedsInitialisation},
        {"library", "a second GCInitLib is refused", InitialisesOnce},
        {"library", "a second GCCloseLib is refused", ClosesOnce},
        {"library", "it can be initialised again", StartsAgain},
        {"library", "it has all functions of the version that it tells", TellsItsVersion},
        {"library", "the last error has code and text", ExplainsFailures},
    };
}

} // namespace gentlctl
