// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace quillo {

// Brings in the statically linked QML modules of the application; call once before loading a
// screen.
void importQuilloQmlModules();

} // namespace quillo
