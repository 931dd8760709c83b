// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FormatsModule.h"

#include <dlfcn.h>

#include <filesystem>

namespace quorvane {

const Formats* loadFormatsModule()
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    // Never unloaded.
    void* const module
        = dlopen((program.parent_path() / kFormatsModule).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module)
        return nullptr;
    const auto function = reinterpret_cast<FormatsFunction>(dlsym(module, kFormatsFunction));
    return function ? function() : nullptr;
}

} // namespace quorvane
