#include "ModelCommand.h"

#include "CommandRunner.h"
#include "RelayError.h"

#include <QJsonDocument>
#include <QRegularExpression>

#include <cmath>

namespace mintbridge {

namespace {

constexpr qsizetype maxDetailChars = 500;

std::optional<QJsonObject> parseObject(const QString& text)
{
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error == QJsonParseError::NoError && document.isObject())
        return document.object();
    return std::nullopt;
}

// A JSON object in model text: the whole text, the inside of a ``` fence, or the span from
// the first "{" to the last "}".
std::optional<QJsonObject> objectIn(const QString& text)
{
    const QString trimmed = text.trimmed();
    if (auto whole = parseObject(trimmed))
        return whole;
    static const QRegularExpression fence(QStringLiteral(R"(```(?:json)?\s*([\s\S]*?)```)"));
    if (const auto match = fence.match(trimmed); match.hasMatch()) {
        if (auto fenced = parseObject(match.captured(1)))
            return fenced;
    }
    const qsizetype open = trimmed.indexOf(QLatin1Char('{'));
    const qsizetype close = trimmed.lastIndexOf(QLatin1Char('}'));
    if (open >= 0 && close > open)
        return parseObject(trimmed.mid(open, close - open + 1));
    return std::nullopt;
}

std::optional<double> costIn(const QJsonObject& object)
{
    for (const char* key : { "total_cost_usd", "cost_usd" }) {
        const QJsonValue value = object.value(QLatin1String(key));
        if (value.isDouble() && std::isfinite(value.toDouble()) && value.toDouble() >= 0)
            return value.toDouble();
    }
    return std::nullopt;
}

std::optional<QString> sessionIn(const QJsonObject& object)
{
    const QString id = object.value(QLatin1String("session_id")).toString().trimmed();
    return id.isEmpty() ? std::nullopt : std::optional<QString>(id);
}

QString lastLine(const QByteArray& bytes)
{
    const QStringList lines = QString::fromUtf8(bytes).split(QLatin1Char('\n'));
    for (auto it = lines.crbegin(); it != lines.crend(); ++it) {
        const QString line = it->trimmed();
        if (!line.isEmpty())
            return line.left(maxDetailChars);
    }
    return {};
}

QString shellQuoted(const QString& word)
{
    QString quoted = word;
    quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

} // namespace

ModelCommand::ModelCommand(QString commandLine, std::chrono::milliseconds timeout)
    : m_commandLine(std::move(commandLine))
    , m_timeout(timeout)
{
}

bool ModelCommand::isValidModelName(const QString& model)
{
    static const QRegularExpression pattern(QStringLiteral(R"(^[A-Za-z0-9][A-Za-z0-9._:\-]{0,63}$)"));
    return pattern.match(model).hasMatch();
}

QString ModelCommand::substituteModel(QString commandLine, const QString& model)
{
    return commandLine.replace(QStringLiteral("{model}"), shellQuoted(model));
}

ModelCommand::Answer ModelCommand::readOutput(const QByteArray& output)
{
    const QString text = QString::fromUtf8(output).trimmed();
    Answer answer;
    answer.rawText = text;
    const std::optional<QJsonObject> outer = objectIn(text);
    if (!outer)
        return answer;
    const QJsonValue result = outer->value(QLatin1String("result"));
    if (result.isString()) {
        // An envelope around the model's own text.
        if (outer->value(QLatin1String("is_error")).toBool()) {
            const QString reason = lastLine(result.toString().toUtf8());
            throw RelayError::badGateway(
                reason.isEmpty() ? QStringLiteral("模型命令报告了错误") : QStringLiteral("模型报错：") + reason);
        }
        answer.rawText = result.toString().trimmed();
        answer.object = objectIn(answer.rawText);
        answer.costUsd = costIn(*outer);
        answer.sessionId = sessionIn(*outer);
        return answer;
    }
    answer.object = *outer;
    answer.costUsd = costIn(*outer);
    answer.sessionId = sessionIn(*outer);
    return answer;
}

ModelCommand::Answer ModelCommand::run(const QString& model, const QByteArray& prompt) const
{
    const QString line = substituteModel(m_commandLine, model);
    const std::map<std::string, std::string> environment { { "MINTBRIDGE_MODEL", model.toStdString() } };
    const CommandRunner::Outcome outcome = CommandRunner::run(line, prompt, environment, m_timeout);
    using Status = CommandRunner::Outcome::Status;
    switch (outcome.status) {
    case Status::NotStarted:
        throw RelayError::badGateway(QStringLiteral("模型命令无法启动：%1").arg(outcome.startError));
    case Status::TimedOut:
        throw RelayError::gatewayTimeout(
            QStringLiteral("模型命令超过 %1 秒没有返回，已终止").arg(std::chrono::duration<double>(m_timeout).count()));
    case Status::Signalled: {
        const QString reason = lastLine(outcome.err);
        throw RelayError::badGateway(
            reason.isEmpty() ? QStringLiteral("模型命令被信号 %1 终止").arg(outcome.exitCode) : reason);
    }
    case Status::Exited:
        break;
    }
    if (outcome.exitCode != 0) {
        const QString reason = lastLine(outcome.err);
        throw RelayError::badGateway(
            reason.isEmpty() ? QStringLiteral("模型命令失败（退出码 %1）").arg(outcome.exitCode) : reason);
    }
    if (QString::fromUtf8(outcome.out).trimmed().isEmpty())
        throw RelayError::badGateway(QStringLiteral("模型命令没有输出"));
    return readOutput(outcome.out);
}

} // namespace mintbridge
