#pragma once

// Reads one time sentence into a block, a start or a stop:
//   "上午 9 点到 11 点 coding"   manual 09:00–11:00
//   "刚才睡了 1 小时"            manual, 60 minutes ending now
//   "晚上 11 点到 1 点 打游戏"    manual 23:00–01:00, crossing midnight
//   "开始 coding", "在写论文", "now cooking dinner"     start
//   "结束", "写完了", "done with dishes"               stop
//
// A bare hour ("7点到7点45 晚饭") takes the reading whose start is the latest one already past
// on the day of the request; on another day, or when none has started yet, 1–6 o'clock is the
// afternoon and 7–11 the morning. A block that would begin later today, said without a day, is
// last night's: people log what happened. A length without clocks ends now when the sentence is
// about today and names no part of the day; otherwise the block has no clocks and reports
// `missingClock`. Blocks belong to the day they began.

#include "Context.h"
#include "SentenceScan.h"
#include "TimeParse.h"

#include <QStringView>

namespace language {

class TimeParser {
public:
    explicit TimeParser(Context context)
        : m_context(std::move(context))
    {
    }

    TimeParse parse(QStringView sentence) const;
    TimeParse parse(const SentenceScan& scan) const;

private:
    Context m_context;
};

} // namespace language
