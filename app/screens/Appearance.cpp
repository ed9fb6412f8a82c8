// SPDX-License-Identifier: Apache-2.0
#include "Appearance.h"

#include "repository/ChatRepository.h"

namespace quillo {

Appearance::Appearance(ChatRepository& repository, QObject* parent)
    : QObject(parent)
    , m_repository(repository) {
    connect(&repository, &ChatRepository::stateChanged, this, &Appearance::update);
    update();
}

void Appearance::setDesktopScheme(uint scheme) {
    m_desktopScheme = scheme;
    update();
}

void Appearance::update() {
    bool dark = false;
    switch (m_repository.state().theme) {
    case ThemeChoice::Dark:
        dark = true;
        break;
    case ThemeChoice::Light:
        break;
    case ThemeChoice::System:
        dark = m_desktopScheme == 1;
        break;
    }
    if (dark == m_dark)
        return;
    m_dark = dark;
    Q_EMIT darkChanged();
}

} // namespace quillo
