// SPDX-License-Identifier: GPL-3.0-or-later
// Parts of the program that are loaded when first used.
#pragma once

namespace quorvane {

/// Loads a module that lies beside the decoder, for ever. Thread: any.
/// \param without  begins the line in the log when the module is missing or does not fit this
///                 machine: what the program has to do without.
/// \return the module's function of this name, or nullptr.
void* loadModuleFunction(const char* module, const char* function, const char* without);

} // namespace quorvane
