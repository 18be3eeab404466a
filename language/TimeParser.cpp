#include "TimeParser.h"

#include "BookingShape.h"
#include "ContentWords.h"
#include "Lexicon.h"

#include <QRegularExpression>

namespace language {

namespace {

constexpr int minutesPerDay = 24 * 60;

constexpr QStringView startWords[] = { u"开始", u"正在", u"准备", u"继续", u"going for a", u"going for", u"starting",
    u"started", u"start", u"beginning", u"begin" };
constexpr QStringView stopWords[] = { u"结束", u"停止", u"停下", u"暂停", u"完成", u"搞定", u"收工", u"下班", u"起床",
    u"醒了", u"done with", u"finished with", u"stopped", u"stop", u"done", u"finished", u"finish" };

const QRegularExpression& quitVerb()
{
    static const QRegularExpression re(QStringLiteral("不(写|干|做|学|看|玩|跑|练|弄|打|搞|读|背|刷|工作|学习)了"));
    return re;
}

// The usual reading of a bare hour when recency cannot decide: 1–6 afternoon, 7–11 morning.
int defaultReading(const QList<int>& readings)
{
    if (readings.size() == 1)
        return readings.front();
    const int hour = readings.front() / 60;
    if (hour >= 1 && hour <= 6)
        return readings.back();
    return readings.front();
}

// End of a block that starts at `start`: the first reading after it, else the next day's earliest.
int endAfter(int start, const QList<int>& readings)
{
    std::optional<int> best;
    for (int r : readings) {
        if (r > start && (!best || r < *best))
            best = r;
    }
    if (best)
        return *best;
    int earliest = readings.front();
    for (int r : readings)
        earliest = qMin(earliest, r);
    return earliest + minutesPerDay;
}

struct Block {
    int start = 0; // minutes after the day's midnight
    int end = 0; // may pass 24:00
};

} // namespace

TimeParse TimeParser::parse(QStringView sentence) const
{
    return parse(SentenceScan::of(sentence, m_context));
}

TimeParse TimeParser::parse(const SentenceScan& scan) const
{
    TimeParse out;
    const Lexicon& lexicon = m_context.words();
    const QDateTime now = m_context.localNow();
    const QDate today = now.date();
    const int nowMinutes = now.time().hour() * 60 + now.time().minute();
    out.date = today;
    if (scan.text.text().trimmed().isEmpty()) {
        out.problem = TimeProblem::emptySentence;
        return out;
    }

    MarkedText text = scan.text;
    const DateFindings& when = scan.when;
    const bool explicitDay = when.day.has_value() && *when.day != today;
    if (when.day)
        out.date = *when.day;
    const ClockFindings& found = scan.clocks;
    const std::optional<double>& length = scan.length;
    // "停车 3 小时 12 刀": a price says this is spending, whatever else it mentions. Counts
    // ("两集", "5 公里") and numbers that are not money leave the activity.
    const bool refused = scan.refusal.has_value();
    if (!scan.amounts.isEmpty() && !refused && scan.evidence != BookingShape::Evidence::none) {
        out.problem = TimeProblem::noTimeAction;
        return out;
    }
    const bool strayNumber = !scan.amounts.isEmpty();
    // "准备去 Costco 买点东西 大概 200": money talk with a figure is not a time record either.
    if (refused && strayNumber) {
        out.problem = TimeProblem::noTimeAction;
        return out;
    }
    const DayPeriod context = when.period != DayPeriod::none ? when.period : scan.standalonePeriod;
    const bool justNow = scan.justNow;
    const bool onToday = !explicitDay;

    // Start and stop words.
    bool start = false;
    bool stop = false;
    for (QStringView word : startWords)
        start = text.take(QStringView(word), Mark::marker) || start;
    for (QStringView word : stopWords)
        stop = text.take(QStringView(word), Mark::marker) || stop;
    for (qsizetype at = text.findFree(u"停"); at >= 0; at = text.findFree(u"停", at + 1)) {
        if (text.startsWithAt(at + 1, u"车"))
            continue;
        text.mark(at, 1, Mark::marker);
        stop = true;
    }
    if (text.folded().contains(u'不')) {
        auto it = quitVerb().globalMatch(text.folded());
        while (it.hasNext()) {
            const auto m = it.next();
            if (!text.isFree(m.capturedStart(), m.capturedLength()))
                continue;
            text.mark(m.capturedStart(), 1, Mark::marker);
            stop = true;
        }
    }
    // "写完了", "跑完", "写完论文了": the work is over.
    for (qsizetype at = text.findFree(u"完"); at > 0; at = text.findFree(u"完", at + 1)) {
        if (text.startsWithAt(at + 1, u"成") || !chars::isCjk(text.folded().at(at - 1)))
            continue;
        text.mark(at, 1, Mark::marker);
        stop = true;
    }

    // Weaker cues of a start, trusted only in a sentence without a stray number (not a price).
    QList<Chunk> chunks = text.freeChunks();
    if (!chunks.isEmpty() && !strayNumber && !stop) {
        QString first = chunks.front().text;
        for (QStringView lead : { u"我", u"现在" }) {
            if (first.startsWith(lead))
                first.remove(0, lead.size());
        }
        const QString whole = text.text().trimmed();
        const bool endsWithLe = whole.endsWith(u'了') || whole.endsWith(u"了。") || whole.endsWith(u"了!");
        const bool more = first.size() > 1 || chunks.size() > 1;
        if (first.startsWith(u'要'))
            first.remove(0, 1);
        const QString lastWord = chunks.back().text;
        if (first.startsWith(u'在') && more)
            start = true;
        else if (first.startsWith(u'去') && more && endsWithLe)
            start = true;
        else if (lastWord.size() > 2 && lastWord.endsWith(u"去了")) // "健身去了"
            start = true;
        // "休息一下": a short break of a known activity.
        else if (whole.endsWith(u"一下") && lexicon.matchTime(text.freeFolded()))
            start = true;
        const Chunk& last = chunks.back();
        if (last.text.size() >= 3 && last.text.endsWith(u'中')) {
            text.mark(last.pos + last.len - 1, 1, Mark::marker);
            start = true;
        }
        // "now cooking dinner", "doing dishes now", "现在 coding": what is going on now.
        if (chunks.size() > 1
            && (chunks.front().text.compare(u"now", Qt::CaseInsensitive) == 0
                || chunks.back().text.compare(u"now", Qt::CaseInsensitive) == 0 || chunks.front().text == u"现在")) {
            for (QStringView word : { u"now", u"doing", u"现在" })
                text.take(word, Mark::marker);
            start = true;
        }
        chunks = text.freeChunks();
    }

    const ContentWords words(lexicon, ContentWords::Role::activity);
    out.activity = lexicon.canonicalActivity(words.phrase(chunks));
    if (const auto category = lexicon.matchTime(out.activity.toLower()))
        out.category = *category;
    else if (const auto anyCategory = lexicon.matchTime(text.freeFolded()))
        out.category = *anyCategory;

    // Where a point falls on the clock: see the class comment.
    auto pointMinutes = [&](const ClockPoint& point) {
        const QList<int> readings = point.readings(context);
        if (readings.size() == 1)
            return readings.front();
        if (onToday) {
            std::optional<int> latest;
            for (int r : readings) {
                if (r <= nowMinutes && (!latest || r > *latest))
                    latest = r;
            }
            if (latest)
                return *latest;
        }
        return defaultReading(readings);
    };
    auto rangeBlock = [&](const ClockPoint& first, const ClockPoint& last) {
        const QList<int> starts = first.readings(context);
        // The end keeps its own period; a bare end is the first reading after the start
        // ("下午2点到4点" ends at 16:00, "晚上 11 点到 1 点" at 01:00 the next day).
        const QList<int> ends = last.readings(DayPeriod::none);
        QList<Block> options;
        for (int s : starts)
            options.append(Block { s, endAfter(s, ends) });
        // A block of more than twelve hours is a misreading when a shorter one exists.
        QList<Block> plausible;
        for (const Block& b : options) {
            if (b.end - b.start <= 12 * 60)
                plausible.append(b);
        }
        if (plausible.isEmpty())
            plausible = options;
        if (plausible.size() == 1)
            return plausible.front();
        if (onToday) {
            std::optional<Block> latest;
            for (const Block& b : plausible) {
                if (b.start <= nowMinutes && (!latest || b.start > latest->start))
                    latest = b;
            }
            if (latest)
                return *latest;
        }
        const int chosen = defaultReading(starts);
        for (const Block& b : plausible) {
            if (b.start == chosen)
                return b;
        }
        return plausible.front();
    };

    std::optional<Block> block;
    if (found.range) {
        const ClockRange& range = *found.range;
        if (range.endIsNow) {
            const int s = pointMinutes(range.start);
            block = Block { s, s <= nowMinutes ? nowMinutes : nowMinutes + minutesPerDay };
        } else {
            block = rangeBlock(range.start, *range.end);
        }
    } else if (found.points.size() == 1 && found.untilNow) {
        const int s = pointMinutes(found.points.front());
        block = Block { s, s <= nowMinutes ? nowMinutes : nowMinutes + minutesPerDay };
    } else if (found.points.size() >= 2) {
        block = rangeBlock(found.points.at(0), found.points.at(1));
    } else if (found.points.size() == 1 && length) {
        const ClockPoint& point = found.points.front();
        const int at = pointMinutes(point);
        const int minutes = qRound(*length);
        block = point.afterTo ? Block { at - minutes, at } : Block { at, at + minutes };
        if (block->start < 0) {
            block->start += minutesPerDay;
            block->end += minutesPerDay;
            out.date = out.date.addDays(-1);
        }
    } else if (length && onToday && context == DayPeriod::none) {
        const int minutes = qRound(*length);
        block = Block { nowMinutes - minutes, nowMinutes };
        if (block->start < 0) {
            block->start += minutesPerDay;
            block->end += minutesPerDay;
            out.date = out.date.addDays(-1);
        }
    }

    if (block) {
        // Said without a day, a block that has not begun yet today happened last night.
        if (!when.day && block->start > nowMinutes && !justNow)
            out.date = out.date.addDays(-1);
        out.action = TimeAction::manual;
        out.startTime = QTime((block->start / 60) % 24, block->start % 60);
        out.endTime = QTime((block->end / 60) % 24, block->end % 60);
        out.durationMin = double(block->end - block->start);
        out.confidence = found.range || found.points.size() >= 2 ? 0.9 : 0.8;
    } else if (length) {
        out.action = TimeAction::manual;
        out.durationMin = *length;
        out.problem = TimeProblem::missingClock;
        out.confidence = 0.4;
    } else if (stop) {
        out.action = TimeAction::stop;
        out.endTime = QTime(now.time().hour(), now.time().minute());
        out.confidence = 0.85;
    } else if (start) {
        out.action = TimeAction::start;
        out.startTime = found.points.isEmpty()
            ? QTime(now.time().hour(), now.time().minute())
            : QTime(pointMinutes(found.points.front()) / 60, pointMinutes(found.points.front()) % 60);
        out.confidence = out.activity.isEmpty() ? 0.5 : 0.85;
    } else {
        out.problem = TimeProblem::noTimeAction;
        out.confidence = 0;
        return out;
    }
    // A day still to come is a plan, not a record ("明天跑步 1 小时").
    if (out.date > today && out.action != TimeAction::stop) {
        out = TimeParse { TimeAction::unknown, out.activity, today, {}, {}, {}, out.category, 0,
            TimeProblem::noTimeAction };
        return out;
    }
    if (out.activity.isEmpty() && out.action != TimeAction::stop)
        out.confidence = qMax(0.1, out.confidence - 0.3);
    return out;
}

} // namespace language
