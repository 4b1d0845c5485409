// When the file of the lower producer is loaded and unloaded.

#include "consumer.h"
#include "gentl_proxy.h"
#include "support/failure.h"
#include "support/loaded.h"

#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

namespace GenTL::internal
{
namespace
{

namespace fs = std::filesystem;

/// A copy of one of the tests' lower producers, which nothing but the code under test loads.
class CopyOfALowerProducer
{
public:
    explicit CopyOfALowerProducer(const std::string &name)
        : m_path(fs::temp_directory_path() / (name + "-" + std::to_string(getpid()) + ".cti"))
    {
        fs::copy_file(QVR_LIB_DIR "/test/" + name + ".cti", m_path, fs::copy_options::overwrite_existing);
    }
    ~CopyOfALowerProducer() { fs::remove(m_path); }
    CopyOfALowerProducer(const CopyOfALowerProducer &) = delete;
    CopyOfALowerProducer &operator=(const CopyOfALowerProducer &) = delete;

    std::string Path() const { return m_path.string(); }

    bool IsLoaded() const { return IsLibraryLoaded(m_path.c_str()); }

private:
    fs::path m_path;
};

TEST(FileOfTheLowerProducer, IsLoadedForAsLongAsTheProxyLives)
{
    const CopyOfALowerProducer copy("lower_full");
    auto proxy = std::make_unique<GenTLProxy>(copy.Path());
    EXPECT_TRUE(copy.IsLoaded());
    proxy.reset();
    EXPECT_FALSE(copy.IsLoaded());
}

// A producer that cannot be used may have started threads, whose code must stay loaded.
TEST(FileOfTheLowerProducer, StaysLoadedWhenItCannotBeUsed)
{
    const CopyOfALowerProducer copy("lower_without_last_error");
    EXPECT_EQ(FailureOf([&] { const GenTLProxy proxy(copy.Path()); }),
              (Failure{"Failed to initialize CTI!", GC_ERR_ERROR}));
    EXPECT_TRUE(copy.IsLoaded());
}

TEST(FileOfTheLowerProducer, IsUnloadedWhenTheLibraryIsClosed)
{
    const CopyOfALowerProducer copy("lower_full");
    const EnvironmentVariable ctiPath("PROXY_TL_CTI_PATH", copy.Path());
    const auto &gentl = Gentl();
    ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
    TL_HANDLE system = nullptr;
    EXPECT_EQ(gentl.TLOpen(&system), GC_ERR_SUCCESS) << GetLastError();
    EXPECT_TRUE(copy.IsLoaded());
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_FALSE(copy.IsLoaded());
}

} // namespace
} // namespace GenTL::internal
