// SPDX-License-Identifier: Apache-2.0
#include "QmlModules.h"

#include <QtQml/QQmlExtensionPlugin>

Q_IMPORT_QML_PLUGIN(Quillo_AppPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_ComponentsPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_SignInPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_OnboardingPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_ChatsPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_ConversationPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_ContactsPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_SettingsPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_PanelsPlugin)
Q_IMPORT_QML_PLUGIN(Quillo_ShellPlugin)

namespace quillo {

void importQuilloQmlModules() {
    // The macros above do the work at static initialisation; calling this keeps the linker
    // from dropping them.
}

} // namespace quillo
