#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// The command-line consumer as a user runs it.
namespace gentlctl_run
{

namespace fs = std::filesystem;
using Json = nlohmann::json;

/// How a run ended.
struct Run
{
    int status = -1;
    std::string output; ///< of both streams
};

inline const std::string program = QVR_BIN_DIR "/gentlctl ";

/// @param redirection for the shell; "2>&1" captures both streams
inline Run Gentlctl(const std::string &arguments, const std::string &redirection = "2>&1",
                    const std::string &before = "")
{
    // The producers of whoever runs the tests are none of theirs.
    const auto command = "unset GENICAM_GENTL64_PATH; " + before + program + arguments + " " + redirection;
    auto *const pipe = popen(command.c_str(), "r");
    Run run;
    std::array<char, 4096> part{};
    for (size_t count = 0; (count = fread(part.data(), 1, part.size(), pipe)) != 0;)
    {
        run.output.append(part.data(), count);
    }
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

inline Json JsonOf(const std::string &arguments)
{
    const auto run = Gentlctl("--json " + arguments, "2> /dev/null");
    EXPECT_EQ(run.status, 0) << arguments << run.output;
    return Json::parse(run.output, nullptr, false);
}

/// A folder for the files of one run.
class Folder
{
public:
    Folder() : m_path(fs::temp_directory_path() / ("gentlctl-" + std::to_string(getpid()))) {}
    ~Folder() { fs::remove_all(m_path); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    const fs::path &Path() const { return m_path; }

    /// How many files have this ending.
    long Count(const std::string &extension) const
    {
        return std::count_if(fs::directory_iterator(m_path), {},
                             [&](const auto &entry) { return entry.path().extension() == extension; });
    }

private:
    fs::path m_path;
};

inline std::string ContentOf(const fs::path &file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace gentlctl_run
