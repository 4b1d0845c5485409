#include "simulator/sources/image_library.h"

#include "simulator/error.h"
#include "simulator/own_path.h"

#include <algorithm>
#include <cctype>
#include <dlfcn.h>

namespace GenTL::simulator
{

namespace
{

/// The image library: beside the file of this library. A copy of this library in another folder, as an
/// installation has one, finds it in the folder `simulator` next to its own folder.
std::filesystem::path LibraryPath()
{
    constexpr const char *name = "qvr_sim_images.so";
    const std::filesystem::path folder = std::filesystem::weakly_canonical(OwnPath()).parent_path();
    const std::filesystem::path beside = folder / name;
    return exists(beside) ? beside : folder.parent_path() / "simulator" / name;
}

/// The extension of a file with its dot, in lower case.
std::string ExtensionOf(const std::filesystem::path &file)
{
    std::string extension = file.extension();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

} // namespace

ImageLibrary LoadImageLibrary()
{
    const std::filesystem::path path = LibraryPath();
    // The functions are called after this one has returned, so the library stays loaded.
    void *const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr)
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "Images cannot be read: {}", dlerror());
    }
    ImageLibrary functions{};
    const auto find = [&](auto &function, const char *name)
    {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
        return function != nullptr;
    };
    const bool hasAll = find(functions.readGreyImage, "qvrReadGreyImage") &&
                        find(functions.readPicture, "qvrReadPicture") &&
                        find(functions.readCalibration, "qvrReadCalibration");
    dlclose(library);
    if (!hasAll)
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "Images cannot be read: {} has no reader", path.string());
    }
    return functions;
}

std::vector<std::filesystem::path> FilesIn(const std::filesystem::path &folder,
                                           const std::set<std::string> &extensions)
{
    std::vector<std::filesystem::path> files;
    std::error_code ignored; // a range-based for would throw where the reading fails
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry(folder, ignored); entry != end; entry.increment(ignored))
    {
        if (entry->is_regular_file(ignored) && extensions.contains(ExtensionOf(entry->path())))
        {
            files.push_back(entry->path());
        }
    }
    std::ranges::sort(files);
    return files;
}

std::vector<std::filesystem::path> ImageFiles(const std::filesystem::path &folder)
{
    return FilesIn(folder, {".png", ".jpg", ".jpeg", ".tif", ".tiff", ".pgm", ".ppm", ".bmp"});
}

} // namespace GenTL::simulator
