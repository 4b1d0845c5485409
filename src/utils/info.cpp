#include "utils/info.h"

#include <string>

namespace GenTL::internal::utils
{

void WriteStringInfo(std::string_view text, const InfoQuery &query)
{
    const std::string terminated(text);
    query.AnswerBytes(INFO_DATATYPE_STRING, terminated.c_str(), terminated.size() + 1);
}

} // namespace GenTL::internal::utils
