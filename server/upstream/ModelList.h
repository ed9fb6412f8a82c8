// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QStringList>

#include <optional>

namespace quillo::server {

// The model ids of an OpenAI-style list, the answer of GET {model URL}/models:
// {"object":"list","data":[{"id":"llama3.2:3b"}, ...]}. Read forgivingly: in the endpoint's
// order, trimmed, entries without a usable id and repeats left out, everything else in the
// answer ignored. Nothing when the answer is not such a list at all.
std::optional<QStringList> listedModels(const QByteArray& body);

} // namespace quillo::server
