#pragma once

#include "check/calls.h"
#include "findings/finding.h"

#include <fmt/format.h>

#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>

namespace gentlctl
{

/// Ends a check that lacks what it needs, for a reason that another check reports.
class NotReached : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// How bad a wrong answer is, whom it hurts, and what to do.
struct Verdict
{
    Level level;
    std::string hurts;
    std::string cure;
};

/// Collects what a check finds, in the process that runs it. One check at a time.
class Trial
{
public:
    using Report = std::function<void(const Finding &finding)>;

    Trial(Calls &calls, Report report) : m_calls(calls), m_report(std::move(report)) {}

    Calls &Producer() { return m_calls; }

    /// Begins a check.
    void Begin(std::string area)
    {
        m_area = std::move(area);
        m_isFine = true;
    }
    /// Whether the check has found nothing bad.
    bool IsFine() const { return m_isFine; }

    void Add(const std::string &call, const std::string &text, const Verdict &verdict)
    {
        m_isFine = m_isFine && verdict.level == Level::Fine;
        m_report({verdict.level, m_area, call, text, verdict.hurts, verdict.cure});
    }

    /// Reports a call that failed and should not have.
    /// @return whether it succeeded
    bool Must(const std::string &call, GenTL::GC_ERROR code, const Verdict &verdict)
    {
        if (code != GenTL::GC_ERR_SUCCESS)
        {
            Add(call, Failure(code), verdict);
        }
        return code == GenTL::GC_ERR_SUCCESS;
    }

    /// Reports a call that did not fail with one of these codes. A success gets the verdict; a failure with
    /// another code gets "will hurt".
    void MustFail(const std::string &call, GenTL::GC_ERROR code,
                  std::initializer_list<GenTL::GC_ERROR> expected, const Verdict &success);

    /// "fails with GC_ERR_IO (-1010): the text of the last error".
    std::string Failure(GenTL::GC_ERROR code)
    {
        const auto text = m_calls.LastErrorText();
        return fmt::format("fails with {}{}{}", CodeName(code), text.empty() ? "" : ": ", text);
    }

private:
    Calls &m_calls;
    Report m_report;
    std::string m_area;
    bool m_isFine = true;
};

} // namespace gentlctl
