// SPDX-License-Identifier: Apache-2.0
#include "SpokenRecording.h"

#include <QProcess>
#include <QRegularExpression>

namespace quillo::dictationtest {

namespace {

// Runs a program to its end; its standard error (where the sound tool reports), or the problem.
std::optional<QString> run(const QString& program, const QStringList& arguments, QString& problem) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(30'000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        problem = program + QStringLiteral(" failed: ") + process.errorString() + u' ' +
                  QString::fromUtf8(process.readAllStandardError());
        return std::nullopt;
    }
    return QString::fromUtf8(process.readAllStandardError());
}

double field(const QString& report, const QString& name) {
    const QRegularExpression line(QRegularExpression::escape(name) +
                                  QStringLiteral(":\\s*([-0-9.eE]+)"));
    const QRegularExpressionMatch match = line.match(report);
    return match.hasMatch() ? match.captured(1).toDouble() : -1;
}

} // namespace

SpokenRecording::SpokenRecording(const QString& voice, const QString& sentence) {
    synthesised = dir.filePath(QStringLiteral("spoken.wav"));
    converted = dir.filePath(QStringLiteral("spoken-16k.wav"));
    if (!run(QStringLiteral("espeak-ng"),
             {QStringLiteral("-v"), voice, QStringLiteral("-w"), synthesised, sentence}, problem))
        return;
    if (!run(QStringLiteral("sox"),
             {synthesised, QStringLiteral("-r"), QStringLiteral("16000"), QStringLiteral("-c"),
              QStringLiteral("1"), QStringLiteral("-b"), QStringLiteral("16"), converted},
             problem))
        return;
    const std::optional<QString> report = run(
        QStringLiteral("sox"), {converted, QStringLiteral("-n"), QStringLiteral("stat")}, problem);
    if (!report)
        return;
    samples = qint64(field(*report, QStringLiteral("Samples read")));
    rms = field(*report, QStringLiteral("RMS     amplitude"));
    if (samples <= 0 || rms <= 0)
        problem = QStringLiteral("unexpected report: ") + *report;
}

} // namespace quillo::dictationtest
