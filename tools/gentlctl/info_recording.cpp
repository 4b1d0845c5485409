#include "gentlctl/info_recording.h"

#include "utils/gentl_exception.h"

namespace gentlctl
{

using namespace GenTL;

namespace
{

recording::InfoRecord RecordInfo(int32_t command, const InfoFunction &function)
{
    try
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = 0;
        function(command, &type, nullptr, &size);
        std::string bytes(size, '\0');
        function(command, &type, bytes.data(), &size);
        bytes.resize(std::min(size, bytes.size()));
        return {command, 0, type, std::move(bytes)};
    }
    catch (const internal::GenTLException &exception)
    {
        return {command, exception.Code(), INFO_DATATYPE_UNKNOWN, exception.what()};
    }
}

} // namespace

std::vector<recording::InfoRecord> RecordInfos(std::span<const InfoCommand> commands,
                                               const InfoFunction &function)
{
    std::vector<recording::InfoRecord> infos;
    infos.reserve(commands.size());
    for (const auto &command : commands)
    {
        auto info = RecordInfo(command.command, function);
        if (info.type != INFO_DATATYPE_PTR)
        {
            infos.push_back(std::move(info));
        }
    }
    return infos;
}

} // namespace gentlctl
