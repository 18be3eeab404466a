#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <chrono>
#include <optional>

namespace mintbridge {

// The configured language-model command line. The prompt goes to its standard input; "{model}"
// in the line becomes the model's name (also given as MINTBRIDGE_MODEL in its environment).
class ModelCommand {
public:
    struct Answer {
        std::optional<QJsonObject> object; // the model's JSON answer, not yet held to a section; absent when none
        QString rawText; // the model's answer as it wrote it
        std::optional<double> costUsd;
        std::optional<QString> sessionId;
    };

    ModelCommand(QString commandLine, std::chrono::milliseconds timeout);

    // Runs the command; throws RelayError 504 past the timeout and 502 when it fails or its
    // output holds no JSON object.
    Answer run(const QString& model, const QByteArray& prompt) const;

    // Letters, digits and . _ : - only: a name goes into a shell line.
    static bool isValidModelName(const QString& model);
    static QString substituteModel(QString commandLine, const QString& model);
    // The command's standard output: a JSON object, or an envelope whose text `result` holds
    // one (with `session_id` and `total_cost_usd` or `cost_usd` beside it). Throws RelayError 502.
    static Answer readOutput(const QByteArray& output);

private:
    QString m_commandLine;
    std::chrono::milliseconds m_timeout;
};

} // namespace mintbridge
