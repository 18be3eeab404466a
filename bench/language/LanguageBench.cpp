// Prints how many sentences per second the understanding reads: the agent's full classification
// (which reads finance and time as well) and the relay's two sections on their own, over every
// sentence of the tuned evaluation sets, repeated for at least the given seconds (default 3).
// Rates are given per second of wall time and per second of this process's CPU time: on a
// shared machine the second one is the figure that does not depend on the neighbours.
//   bench-language [seconds]

#include "IntentClassifier.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <cstdio>
#include <ctime>
#include <functional>

using namespace language;

namespace {

QStringList loadSentences()
{
    QStringList sentences;
    for (const char* name : { "/sentences.json", "/fresh.json", "/spans.json", "/phrases.json", "/nonbookings.json" }) {
        QFile file(QStringLiteral(LANGUAGE_EVAL_DIR) + QLatin1String(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QJsonArray cases
            = QJsonDocument::fromJson(file.readAll()).object().value(QStringLiteral("cases")).toArray();
        for (const QJsonValue& c : cases)
            sentences.append(c.toObject().value(QStringLiteral("text")).toString());
    }
    return sentences;
}

double cpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

void measure(
    const char* label, const QStringList& sentences, double seconds, const std::function<double(const QString&)>& read)
{
    // One warm-up pass builds the shared lexicon and the expressions.
    double sink = 0;
    for (const QString& s : sentences)
        sink += read(s);
    QElapsedTimer timer;
    timer.start();
    const double cpuStart = cpuSeconds();
    qint64 count = 0;
    while (timer.nsecsElapsed() < qint64(seconds * 1e9)) {
        for (const QString& s : sentences)
            sink += read(s);
        count += sentences.size();
    }
    const double elapsed = timer.nsecsElapsed() / 1e9;
    const double cpu = cpuSeconds() - cpuStart;
    std::printf("%-22s %10.0f sentences/s wall, %10.0f per CPU second  (%lld in %.2f s, %.1f us CPU each; "
                "checksum %.0f)\n",
        label, count / elapsed, count / cpu, static_cast<long long>(count), elapsed, cpu / count * 1e6, sink);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const double seconds = argc > 1 ? QString::fromLocal8Bit(argv[1]).toDouble() : 3.0;
    const QStringList sentences = loadSentences();
    if (sentences.isEmpty()) {
        std::fprintf(stderr, "no evaluation sentences under %s\n", LANGUAGE_EVAL_DIR);
        return 1;
    }
    Context context;
    context.now = QDateTime(QDate(2026, 5, 14), QTime(20, 15), context.zone);
    std::printf(
        "%lld distinct sentences, repeated for %.1f s per reader\n", static_cast<long long>(sentences.size()), seconds);
    measure(
        "agent (classify)", sentences, seconds, [&](const QString& s) { return double(understand(s, context).kind); });
    measure("relay finance section", sentences, seconds,
        [&](const QString& s) { return parseFinance(s, context).amount.value_or(0); });
    measure("relay time section", sentences, seconds,
        [&](const QString& s) { return double(parseTime(s, context).action); });
    return 0;
}
