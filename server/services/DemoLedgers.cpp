#include "DemoLedgers.h"

#include "LocalClock.h"
#include "TimeLedgerService.h"
#include "db/Connection.h"

#include <vector>

namespace lumen {

namespace {

constexpr int kFortnight = 14;

enum Category {
    work = 1,
    study = 2,
    meal = 3,
    housework = 4,
    sleep = 6,
    leisure = 7,
    exercise = 8,
    commute = 9,
    cooking = 12,
    hygiene = 13,
    errands = 29
};

struct Block {
    const char* start;
    const char* end;
    const char16_t* activity;
    int category;
};

// Two lists of a day: the owner studies and writes code, the member works in an office.
const std::vector<Block> kOwnerWeekday = {
    { "07:20", "07:40", u"洗漱", hygiene },
    { "07:40", "08:00", u"做早餐", cooking },
    { "08:00", "08:20", u"早餐", meal },
    { "08:30", "09:05", u"坐电车去学校", commute },
    { "09:10", "11:40", u"写代码", work },
    { "11:40", "12:00", u"回邮件", errands },
    { "12:00", "12:45", u"午饭", meal },
    { "13:00", "15:00", u"MGMT90141 lecture", study },
    { "15:15", "17:00", u"代码评审", work },
    { "17:10", "17:45", u"坐电车回家", commute },
    { "18:00", "18:45", u"做晚饭", cooking },
    { "18:45", "19:20", u"晚饭", meal },
    { "19:20", "19:45", u"洗碗收拾", housework },
    { "20:00", "20:45", u"跑步", exercise },
    { "21:00", "22:30", u"看剧", leisure },
    { "22:40", "23:00", u"洗漱", hygiene },
    { "23:15", "07:10", u"睡觉", sleep },
};
const std::vector<Block> kOwnerWeekend = {
    { "08:30", "08:50", u"洗漱", hygiene },
    { "09:00", "10:00", u"早午饭", meal },
    { "10:00", "11:30", u"打扫卫生", housework },
    { "11:30", "12:30", u"买菜", errands },
    { "13:30", "16:00", u"看电影", leisure },
    { "16:30", "17:30", u"游泳", exercise },
    { "18:00", "19:00", u"做饭", cooking },
    { "19:00", "19:40", u"晚饭", meal },
    { "20:00", "22:00", u"写论文", study },
    { "23:30", "08:20", u"睡觉", sleep },
};
const std::vector<Block> kMemberWeekday = {
    { "06:50", "07:10", u"洗漱", hygiene },
    { "07:10", "07:30", u"早餐", meal },
    { "07:40", "08:30", u"开车上班", commute },
    { "08:40", "12:30", u"设计稿", work },
    { "12:30", "13:15", u"午饭", meal },
    { "13:15", "17:30", u"开会", work },
    { "17:40", "18:30", u"开车回家", commute },
    { "18:30", "19:30", u"瑜伽", exercise },
    { "19:30", "20:10", u"晚饭", meal },
    { "20:10", "21:00", u"洗衣服", housework },
    { "21:00", "22:30", u"追剧", leisure },
    { "22:45", "06:45", u"睡觉", sleep },
};
const std::vector<Block> kMemberWeekend = {
    { "09:00", "09:30", u"洗漱", hygiene },
    { "09:30", "10:30", u"做早午饭", cooking },
    { "10:30", "11:10", u"早午饭", meal },
    { "11:30", "13:00", u"逛街", leisure },
    { "14:00", "15:30", u"读书", study },
    { "16:00", "17:00", u"瑜伽", exercise },
    { "17:00", "18:00", u"取快递和办事", errands },
    { "18:30", "19:30", u"晚饭", meal },
    { "20:00", "22:30", u"看综艺", leisure },
    { "23:30", "08:40", u"睡觉", sleep },
};

struct Capture {
    const char* start;
    const char* end;
    const char16_t* activity;
    const char16_t* breakdown; // raw_note: seconds of each application, as percentages
};

// The owner's screen yesterday evening: code, a course page, chat, videos, time away, an
// untitled Word window after a titled one, a sensor replay and the login window.
const std::vector<Capture> kOwnerEvening = {
    { "19:50", "20:35", u"Code · TimeLedgerService.cpp — velmaros", u"{\"Code\": 82, \"Terminal\": 18}" },
    { "19:50", "20:35", u"Code · TimeLedgerService.cpp — velmaros", u"{\"Code\": 82, \"Terminal\": 18}" },
    { "20:35", "20:41", u"离屏", nullptr },
    { "20:41", "21:20", u"Google Chrome · MGMT90141 Week 9 Lecture — Canvas",
        u"{\"Google Chrome\": 90, \"Preview\": 10}" },
    { "21:20", "21:32", u"微信", nullptr },
    { "21:32", "21:40", u"微信", nullptr },
    { "21:40", "22:05", u"bilibili · 番剧", u"{\"bilibili\": 92, \"微信\": 8}" },
    { "22:05", "22:25", u"bilibili · 纪录片", u"{\"bilibili\": 85, \"Safari\": 15}" },
    { "22:25", "22:40", u"离屏", nullptr },
    { "22:40", "22:48", u"离屏", nullptr },
    { "22:48", "23:30", u"Microsoft Word · MGMT90141 Assignment 2.docx", u"{\"Microsoft Word\": 100}" },
    { "23:31", "23:36", u"Microsoft Word", nullptr },
    { "23:36", "23:37", u"loginwindow", nullptr },
    { "23:40", "07:30", u"离屏", nullptr },
};
// The owner's screen this morning; what has not happened yet at seeding time is left out.
const std::vector<Capture> kOwnerMorning = {
    { "09:05", "10:30", u"Code · PendingService.cpp — velmaros", u"{\"Code\": 76, \"Google Chrome\": 24}" },
    { "10:30", "10:44", u"Terminal · ninja -C build", nullptr },
    { "10:44", "10:52", u"离屏", nullptr },
    { "10:52", "11:20", u"WeChat · WeChat", nullptr },
    { "11:20", "12:05", u"Google Chrome · unimelb LMS — MGMT90141 readings",
        u"{\"Google Chrome\": 95, \"Finder\": 5}" },
    { "13:00", "13:25", u"Telegram", nullptr },
    { "13:25", "14:40", u"Code · DemoLedgers.cpp — velmaros", u"{\"Code\": 88, \"Terminal\": 12}" },
};
const std::vector<Capture> kMemberEvening = {
    { "20:05", "20:50", u"Figma · 首页改版", u"{\"Figma\": 93, \"Slack\": 7}" },
    { "20:50", "21:05", u"微信", nullptr },
    { "21:05", "21:40", u"Safari · 小红书 — 周末去哪", u"{\"Safari\": 100}" },
    { "21:40", "21:52", u"离屏", nullptr },
};

// Applications the owner has already confirmed twice, so their captures arrive placed.
struct Habit {
    const char* app;
    int category;
};
const Habit kOwnerHabits[] = { { "code", work }, { "terminal", work }, { "bilibili", leisure } };

int minutes(const char* clock)
{
    return *LocalClock::parseClock(QString::fromLatin1(clock));
}

bool isWeekend(QDate day)
{
    return day.dayOfWeek() >= 6;
}

} // namespace

DemoLedgers::DemoLedgers(TimeLedgerService& time)
    : m_time(time)
{
}

DemoLedgerCounts DemoLedgers::write(
    db::Connection& connection, const LocalClock& local, qint64 ownerId, qint64 memberId)
{
    DemoLedgerCounts counts;
    const QDateTime now = local.now();
    const QDate today = now.date();
    const QDate yesterday = today.addDays(-1);
    // What the sensor saw yesterday evening is still waiting; the confirmed day ends before it.
    const int ownerReviewFrom = minutes("19:50");
    const int memberReviewFrom = minutes("20:05");

    // The owner's screen takes over this morning at nine; the member's day runs on until now.
    auto confirmBlocks = [&](qint64 userId, const std::vector<Block>& weekday, const std::vector<Block>& weekend,
                             int reviewFrom, int todayUntil) {
        for (int back = kFortnight; back >= 0; --back) {
            const QDate day = today.addDays(-back);
            for (const Block& block : isWeekend(day) ? weekend : weekday) {
                const int start = minutes(block.start);
                const int end = minutes(block.end);
                const bool crossesMidnight = end <= start;
                if (day == yesterday && (crossesMidnight || start >= reviewFrom))
                    continue;
                // Today only what is over.
                if (day == today && (crossesMidnight || local.at(day, end) > now || end > todayUntil))
                    continue;
                NewTimeEntry entry;
                entry.date = day;
                entry.startMinutes = start;
                entry.endMinutes = end;
                entry.activity = QString::fromUtf16(block.activity);
                entry.categoryId = block.category;
                // Most blocks were typed into the app; some were said in the chat.
                entry.source = (back + start) % 5 == 0 ? QStringLiteral("velmar-os-chat") : QStringLiteral("app");
                m_time.insertIn(connection, userId, entry);
                ++counts.confirmedBlocks;
            }
        }
    };
    confirmBlocks(ownerId, kOwnerWeekday, kOwnerWeekend, ownerReviewFrom, minutes("09:00"));
    confirmBlocks(memberId, kMemberWeekday, kMemberWeekend, memberReviewFrom, 24 * 60);

    for (const Habit& habit : kOwnerHabits) {
        connection
            .prepare("INSERT INTO time_habit_counts (user_id, app, category_id, count) VALUES (:user, :app, :cat, 2)")
            .bind(":user", ownerId)
            .bind(":app", QString::fromLatin1(habit.app))
            .bind(":cat", habit.category)
            .run();
        connection
            .prepare("INSERT INTO time_habits (user_id, app, category_id, learned_at) VALUES (:user, :app, :cat, :now)")
            .bind(":user", ownerId)
            .bind(":app", QString::fromLatin1(habit.app))
            .bind(":cat", habit.category)
            .bind(":now", now.toSecsSinceEpoch())
            .run();
    }
    auto capture = [&](qint64 userId, QDate day, const std::vector<Capture>& captures) {
        for (const Capture& seen : captures) {
            const int start = minutes(seen.start);
            const int end = minutes(seen.end);
            if (day == today && local.at(day, end) > now)
                continue;
            NewTimeEntry entry;
            entry.date = day;
            entry.startMinutes = start;
            entry.endMinutes = end;
            entry.activity = QString::fromUtf16(seen.activity);
            entry.source = QStringLiteral("mac-sensor");
            entry.confirmed = 0;
            if (seen.breakdown)
                entry.rawNote = QString::fromUtf16(seen.breakdown);
            m_time.insertIn(connection, userId, entry);
            ++counts.capturedEntries;
        }
    };
    capture(ownerId, yesterday, kOwnerEvening);
    capture(ownerId, today, kOwnerMorning);
    capture(memberId, yesterday, kMemberEvening);

    return counts;
}

} // namespace lumen
