#include "RelayConfig.h"

namespace mintbridge {

namespace {

bool isTrue(const QString& value)
{
    const QString v = value.trimmed().toLower();
    return v == QLatin1String("1") || v == QLatin1String("true") || v == QLatin1String("yes")
        || v == QLatin1String("on");
}

} // namespace

RelayConfig RelayConfig::standard(const QString& home, const Environment& environment)
{
    RelayConfig config;
    const QString configDir = home + QStringLiteral("/.config/mintbridge");
    config.tokenFilePath = configDir + QStringLiteral("/bearer");
    config.usageLedgerPath = configDir + QStringLiteral("/usage.json");
    config.killSwitchPath = home + QStringLiteral("/.mintbridge-disable");
    config.token = environment("MINTBRIDGE_TOKEN").trimmed();
    config.modelCommand = environment("MINTBRIDGE_MODEL_COMMAND").trimmed();
    config.preferBuiltin = isTrue(environment("MINTBRIDGE_PREFER_BUILTIN"));
    if (const QString model = environment("MINTBRIDGE_MODEL").trimmed(); !model.isEmpty())
        config.defaultModel = model;
    if (const QString zone = environment("MINTBRIDGE_ZONE").trimmed(); !zone.isEmpty())
        config.zone = zone;
    return config;
}

RelayConfig::Environment RelayConfig::processEnvironment()
{
    return [](const char* name) { return qEnvironmentVariable(name); };
}

} // namespace mintbridge
