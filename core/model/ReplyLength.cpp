// SPDX-License-Identifier: Apache-2.0
#include "ReplyLength.h"

namespace quillo {

int maxTokens(ReplyLength length) {
    switch (length) {
    case ReplyLength::Short:
        return 80;
    case ReplyLength::Medium:
        return 130;
    case ReplyLength::Long:
        return 220;
    case ReplyLength::Chatty:
        return 380;
    }
    return 80;
}

int maxLines(ReplyLength length) {
    switch (length) {
    case ReplyLength::Short:
    case ReplyLength::Medium:
        return 2;
    case ReplyLength::Long:
        return 3;
    case ReplyLength::Chatty:
        return 5;
    }
    return 2;
}

QString promptInstruction(ReplyLength length) {
    switch (length) {
    case ReplyLength::Short:
        return QStringLiteral(
            "Keep it very brief: 1 or 2 short lines, one quick thought or question.");
    case ReplyLength::Medium:
        return QStringLiteral(
            "Keep it concise but fuller: 1 or 2 lines with a little more detail.");
    case ReplyLength::Long:
        return QStringLiteral(
            "Write 2 or 3 lines and sound richer, with a detail or two of your own.");
    case ReplyLength::Chatty:
        return QStringLiteral("Write a fuller message of 3 to 5 lines, like a friend with a lot "
                              "to say, still without lists.");
    }
    return {};
}

} // namespace quillo
