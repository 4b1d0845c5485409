#include "vision_module/metadata.h"

namespace tarn::vision
{

void SetValue(void *metadata, const char *key, Value value)
{
    const auto store = FindHandle<Metadata>(metadata);
    RequirePointer(key, "the key");
    store->values.insert_or_assign(key, std::move(value));
}

std::string TextOf(const char *text)
{
    RequirePointer(text, "a text");
    return text;
}

} // namespace tarn::vision
