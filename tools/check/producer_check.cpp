#include "check/producer_check.h"

#include "check/check.h"
#include "check/file_checks.h"
#include "consumer/producer.h"
#include "consumer/producer_files.h"
#include "findings/elf_file.h"
#include "findings/isolated.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace gentlctl
{
namespace
{

// A producer that ends the process again and again in one call would fill the report with one fault.
constexpr int mostEndsInOneCall = 3;

void Append(Findings &findings, Findings more)
{
    std::ranges::move(more, std::back_inserter(findings));
}

/// Runs one check in the process of the producer, and tells the parent what it found.
void RunCheck(const Check &check, Bench &bench, const Send &send)
{
    bench.trial.Begin(check.area);
    Finding end{Level::Fine, check.area, "", check.states, "", ""};
    try
    {
        check.run(bench);
    }
    catch (const NotReached &reason)
    {
        end.level = Level::NotChecked;
        end.text = fmt::format("{}: {}", check.states, reason.what());
    }
    catch (const std::exception &failure)
    {
        // For example bad_alloc, for a count that no memory holds. Clean-up has made other calls since the
        // one that failed.
        send({{"finding", ToJson({Level::Broken, check.area, "",
                                  fmt::format("{}: an answer leads to \"{}\"", check.states, failure.what()),
                                  "every consumer that trusts the answer: it ends or reads foreign memory",
                                  "tell true sizes, counts and codes"})}});
        return;
    }
    if (bench.trial.IsFine())
    {
        send({{"finding", ToJson(end)}});
    }
}

/// The checks one after the other, in as many processes as it takes.
class Examination
{
public:
    explicit Examination(const Examinee &examinee) : m_examinee(examinee), m_checks(AllChecks())
    {
        std::erase_if(m_checks, [&](const Check &check)
                      { return !examinee.area.empty() && check.area != examinee.area; });
    }

    Findings Run()
    {
        while (m_next < m_checks.size() && !m_isGivenUp)
        {
            const auto ending =
                RunIsolated([this](const Send &send) { RunFrom(m_next, send); },
                            [this](const Json &message) { return Take(message); }, m_examinee.limit);
            if (ending.kind != Ending::Kind::Finished)
            {
                AddEnd(ending);
            }
        }
        if (m_next < m_checks.size())
        {
            Append(m_findings,
                   {{Level::NotChecked, "", m_lastCall,
                     fmt::format("{} more checks, since the producer does not live through this call",
                                 m_checks.size() - m_next),
                     "", ""}});
        }
        return std::move(m_findings);
    }

private:
    /// In the child.
    void RunFrom(size_t first, const Send &send) const
    {
        LoadVisionLibrary();
        Calls calls(m_examinee.file, RTLD_NOW | RTLD_LOCAL,
                    [&](std::string_view function) {
                        send({{"call", std::string(function)}});
                    });
        Session session(calls, m_examinee.device);
        Trial trial(calls, [&](const Finding &finding) { send({{"finding", ToJson(finding)}}); });
        Bench bench{trial, calls, session};
        for (size_t i = first; i < m_checks.size(); ++i)
        {
            send({{"begins", i}});
            RunCheck(m_checks[i], bench, send);
            send({{"ends", i}});
        }
    }

    bool Take(const Json &message)
    {
        m_lastCall = message.value("call", m_lastCall);
        if (message.contains("finding"))
        {
            m_findings.push_back(FindingFrom(message["finding"]));
        }
        if (message.contains("ends"))
        {
            m_next = message["ends"].get<size_t>() + 1;
        }
        return message.contains("begins");
    }

    void AddEnd(const Ending &ending)
    {
        const auto &check = m_checks[m_next];
        const bool isDead = ending.kind == Ending::Kind::Died;
        m_findings.push_back(
            {Level::Broken, check.area, m_lastCall,
             fmt::format("{} ({}), on the way to: {}", isDead ? "ends the process" : "does not return",
                         ending.how, check.states),
             "every consumer: it ends or hangs with the producer",
             isDead ? "run this check in a debugger, and check arguments before you use them"
                    : "look which lock or thread the call waits for, and give each wait an end"});
        m_isGivenUp = ++m_endsInCall[m_lastCall] == mostEndsInOneCall;
        ++m_next;
    }

    const Examinee &m_examinee;
    ChecksOf m_checks;
    Findings m_findings;
    std::map<std::string, int> m_endsInCall;
    std::string m_lastCall = "dlopen";
    size_t m_next = 0;
    bool m_isGivenUp = false;
};

void AllCloses(Bench &bench)
{
    bench.session.CloseLibrary();
}

} // namespace

ChecksOf AllChecks()
{
    ChecksOf all;
    for (const auto &checksOf : {LibraryChecks, ModuleChecks, InfoChecks, PortChecks, FrameChecks,
                                 EventChecks, OrderChecks, HandleChecks})
    {
        std::ranges::move(checksOf(), std::back_inserter(all));
    }
    all.push_back({"library", "everything closes", AllCloses});
    return all;
}

std::vector<std::string> CheckAreas()
{
    std::vector<std::string> areas;
    for (const auto &check : AllChecks())
    {
        if (std::ranges::find(areas, check.area) == areas.end())
        {
            areas.push_back(check.area);
        }
    }
    return areas;
}

std::string DeviceToCheck(const Examinee &examinee)
{
    auto answer = Json::object();
    const auto look = [&](const Send &send)
    {
        LoadVisionLibrary();
        Producer producer(examinee.file);
        std::vector<DeviceEntry> devices;
        for (auto &interface : producer.Enumerate())
        {
            std::ranges::move(interface.devices, std::back_inserter(devices));
        }
        try
        {
            send({{"id", devices.empty() ? examinee.device : ChooseDevice(devices, examinee.device).id}});
        }
        catch (const std::runtime_error &error)
        {
            send({{"refused", error.what()}});
        }
    };
    const auto take = [&](const Json &message)
    {
        answer.update(message);
        return false;
    };
    RunIsolated(look, take, examinee.limit);
    if (answer.contains("refused"))
    {
        throw std::runtime_error(answer["refused"].get<std::string>());
    }
    return answer.value("id", examinee.device);
}

Findings CheckProducer(const Examinee &examinee)
{
    if (!examinee.area.empty())
    {
        return Examination(examinee).Run();
    }
    auto findings = CheckFile(examinee.file);
    const auto elf = ReadElfFile(examinee.file);
    if (!elf || !elf->isOfThisMachine)
    {
        return findings;
    }
    auto loading = CheckLoading(examinee.file, examinee.limit);
    const bool loads = std::ranges::find(loading, Level::Fine, &Finding::level) != loading.end();
    Append(findings, std::move(loading));
    if (loads)
    {
        Append(findings, Examination(examinee).Run());
    }
    return findings;
}

} // namespace gentlctl
