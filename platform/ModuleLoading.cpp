// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ModuleLoading.h"

#include "platform/DecoderProgram.h"

#include <dlfcn.h>

#include <filesystem>

namespace quorvane {

void* loadModuleFunction(const char* module, const char* function, const char* without)
{
    const auto folder = std::filesystem::path(decoderProgram().toStdString()).parent_path();
    // Never unloaded: the libraries have threads.
    void* const library = dlopen((folder / module).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const symbol = library ? dlsym(library, function) : nullptr;
    if (!symbol)
        qWarning("%s: %s", without, dlerror());
    return symbol;
}

} // namespace quorvane
