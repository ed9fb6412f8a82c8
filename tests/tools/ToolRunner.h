// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <QProcess>
#include <QStringList>

// Runs the built quillo-tool as a user would, with `input` on its standard input.
struct ToolRun {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

inline ToolRun runQuilloTool(const QStringList& arguments, const QByteArray& input = {}) {
    QProcess process;
    process.start(QStringLiteral(QUILLO_TOOL_PATH), arguments);
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << "crashed";
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}
