#include "IntentService.h"

#include "ModelPrompt.h"
#include "RelayError.h"

#include "Context.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QUuid>

namespace mintbridge {

namespace {

const QString builtinModel = QStringLiteral("builtin");

wire::AnyDict toDict(const QJsonObject& object)
{
    wire::AnyDict dict;
    for (auto it = object.begin(); it != object.end(); ++it)
        dict.emplace(it.key(), wire::AnyCodableValue::fromJson(it.value()));
    return dict;
}

QString newSessionId()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

} // namespace

IntentService::IntentService(RelayConfig config)
    : m_config(std::move(config))
    , m_zone(m_config.zone.toUtf8())
    , m_ledger(std::make_unique<UsageLedger>(m_config.usageLedgerPath, m_config.dailyLimit))
{
    if (!m_config.clock)
        m_config.clock = SystemRelayClock::shared();
    if (!m_config.modelCommand.isEmpty())
        m_command = std::make_unique<ModelCommand>(m_config.modelCommand, m_config.modelTimeout);
}

bool IntentService::usesModel(const wire::RelayIntentRequest& request) const
{
    return m_command && !m_config.preferBuiltin && request.model.value_or(QString()) != builtinModel;
}

QDateTime IntentService::referenceTime(const std::optional<QString>& ts) const
{
    if (!ts || ts->trimmed().isEmpty())
        return m_config.clock->now();
    const QString text = ts->trimmed();
    QDateTime when = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!when.isValid())
        when = QDateTime::fromString(text, Qt::ISODate);
    if (!when.isValid())
        throw RelayError::unprocessable(QStringLiteral("ts 不是 ISO 8601 时间：%1").arg(text.left(64)));
    // A moment without an offset was said on the household's clock.
    if (when.timeSpec() == Qt::LocalTime && m_zone.isValid())
        when = QDateTime(when.date(), when.time(), m_zone);
    return when;
}

wire::RelayIntentResponse IntentService::answer(const wire::RelayIntentRequest& request) const
{
    const auto section = sectionFromName(request.section);
    if (!section)
        throw RelayError::unprocessable(
            QStringLiteral("section 只能是 finance、time 或 steward，收到的是「%1」").arg(request.section.left(32)));
    const QString text = request.text.trimmed();
    if (text.isEmpty())
        throw RelayError::unprocessable(QStringLiteral("text 不能为空"));
    if (text.size() > maxTextChars)
        throw RelayError::unprocessable(QStringLiteral("句子太长（上限 %1 字）").arg(maxTextChars));
    const QString model = request.model.value_or(QString()).trimmed();
    if (!model.isEmpty() && !ModelCommand::isValidModelName(model))
        throw RelayError::unprocessable(QStringLiteral("model 名称不合法：%1").arg(model.left(64)));
    const QDateTime reference = referenceTime(request.ts);

    if (!usesModel(request))
        return builtin(*section, text, reference);
    return viaModel(*section, text, reference, model.isEmpty() ? m_config.defaultModel : model);
}

wire::RelayIntentResponse IntentService::builtin(
    IntentSection section, const QString& text, const QDateTime& reference) const
{
    QElapsedTimer timer;
    timer.start();
    language::Context context;
    context.now = reference;
    if (m_zone.isValid())
        context.zone = m_zone;
    const QJsonObject parsed = builtinParsed(section, text, context);

    wire::RelayIntentResponse response;
    response.ok = true;
    response.parsed = toDict(parsed);
    response.raw_result = section == IntentSection::steward
        ? parsed.value(QStringLiteral("answer")).toString()
        : QString::fromUtf8(QJsonDocument(parsed).toJson(QJsonDocument::Compact));
    response.cost_usd = 0.0;
    response.duration_ms = int(timer.elapsed());
    response.session_id = newSessionId();
    return response;
}

wire::RelayIntentResponse IntentService::viaModel(
    IntentSection section, const QString& text, const QDateTime& reference, const QString& model) const
{
    const QDateTime now = m_config.clock->now();
    const UsageLedger::Verdict verdict = m_ledger->acquire(now);
    if (!verdict.allowed) {
        const QDateTime frees = m_zone.isValid() ? verdict.freesAt.toTimeZone(m_zone) : verdict.freesAt.toLocalTime();
        const qint64 seconds = std::max<qint64>(1, now.secsTo(verdict.freesAt));
        const qint64 minutes = (seconds + 59) / 60;
        throw RelayError::rateLimited(QStringLiteral("24 小时内的 %1 次模型调用已用完，%2 起可再用（约 %3 分钟后）。"
                                                     "内置解析不受限制。")
                                          .arg(m_ledger->limit())
                                          .arg(frees.toString(QStringLiteral("MM-dd HH:mm")))
                                          .arg(minutes),
            int(std::min<qint64>(seconds, 86400)));
    }

    QElapsedTimer timer;
    timer.start();
    const QDateTime localNow = m_zone.isValid() ? reference.toTimeZone(m_zone) : reference;
    const QByteArray prompt = modelPrompt(section, text, localNow, m_config.zone);
    try {
        const ModelCommand::Answer answer = m_command->run(model, prompt);
        QJsonObject object;
        if (answer.object)
            object = *answer.object;
        else if (section == IntentSection::steward)
            object = QJsonObject { { QStringLiteral("answer"), answer.rawText } };
        else
            throw RelayError::badGateway(QStringLiteral("模型输出不是 JSON：%1").arg(answer.rawText.left(120)));

        wire::RelayIntentResponse response;
        response.ok = true;
        response.parsed = toDict(validateParsed(section, object));
        response.raw_result = answer.rawText;
        response.cost_usd = answer.costUsd;
        response.duration_ms = int(timer.elapsed());
        response.session_id = answer.sessionId.value_or(newSessionId());
        qInfo().noquote() << QStringLiteral("[mintbridge] %1 via model %2: %3 ms, %4/%5 calls in 24 h")
                                 .arg(sectionName(section), model)
                                 .arg(timer.elapsed())
                                 .arg(verdict.used)
                                 .arg(m_ledger->limit());
        return response;
    } catch (const RelayError& error) {
        qWarning().noquote() << QStringLiteral("[mintbridge] %1 via model %2 failed after %3 ms: %4")
                                    .arg(sectionName(section), model)
                                    .arg(timer.elapsed())
                                    .arg(error.status());
        throw;
    }
}

} // namespace mintbridge
