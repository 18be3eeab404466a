#include "ModelPrompt.h"

#include <QLocale>

namespace mintbridge {

namespace {

const char* const financeFields = R"(字段（不知道的字段省略，不要编造）：
- amount：数字，本笔总金额（有分项时为合计）
- currency：三位货币代码，未说明时为 AUD；"块"、"块钱"也是 AUD
- category：一个中文分类名，如 餐饮、买菜、交通、住房、水电网、购物、娱乐、医疗、宠物、工资
- spender：付款人，"Velmar"、"Sefa"，两人共同为 "shared"；说话人自己付时省略
- date：记账日期 yyyy-MM-dd，按参考时间换算"今天""昨天""上周五"
- description：买了什么，用句子里的原词
- confidence：0 到 1 的把握
- error：句子不是一笔账或缺金额时，用一句中文说明原因
- items：分项数组 [{"name": 文字, "amount": 数字}]，句子里没有分项时省略)";

const char* const timeFields = R"(字段（不知道的字段省略，不要编造）：
- action："manual"（一段已经过去的时间）、"start"（开始一项活动）、"stop"（结束当前活动）或 "unknown"
- activity：做了什么，用句子里的原词
- date：这段时间开始的日期 yyyy-MM-dd，按参考时间换算
- start_time、end_time：HH:MM，24 小时制；跨过午夜时 end_time 可以小于 start_time
- duration_min：分钟数
- confidence：0 到 1 的把握
- error：说不出动作或缺少起止时间时，用一句中文说明原因)";

} // namespace

QByteArray modelPrompt(IntentSection section, const QString& text, const QDateTime& localNow, const QString& zoneName)
{
    const QLocale chinese(QLocale::Chinese, QLocale::China);
    const QString reference = QStringLiteral("参考时间：%1（%2，%3）。相对的日期和时刻都从它算起。")
                                  .arg(localNow.toString(QStringLiteral("yyyy-MM-dd HH:mm")),
                                      chinese.dayName(localNow.date().dayOfWeek()), zoneName);
    QString prompt;
    switch (section) {
    case IntentSection::finance:
        prompt = QStringLiteral("把下面这句话读成一笔家庭账目。只输出一个 JSON 对象，不要任何其他文字。\n") + reference
            + u'\n' + QString::fromUtf8(financeFields);
        break;
    case IntentSection::time:
        prompt = QStringLiteral("把下面这句话读成一条时间记录。只输出一个 JSON 对象，不要任何其他文字。\n") + reference
            + u'\n' + QString::fromUtf8(timeFields);
        break;
    case IntentSection::steward:
        prompt = QStringLiteral("你是这个家庭的管家，简短地用中文回答下面这句话。只输出一个 JSON 对象 "
                                "{\"answer\": \"回答\"}，不要任何其他文字。\n")
            + reference;
        break;
    }
    prompt += QStringLiteral("\n句子：") + text + u'\n';
    return prompt.toUtf8();
}

} // namespace mintbridge
