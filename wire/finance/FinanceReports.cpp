#include "FinanceReports.h"

namespace wire {

CashFlow CashFlow::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("month"), in.required<double>("inflow"), in.required<double>("outflow"),
        in.required<double>("net") };
}

void CashFlow::writeJson(ObjectWriter& out) const
{
    out.set("month", month).set("inflow", inflow).set("outflow", outflow).set("net", net);
}

CategoryTotal CategoryTotal::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("category"), in.required<QString>("kind"), in.optional<QString>("color"),
        in.required<double>("amount"), in.required<int>("count"), in.required<double>("share") };
}

void CategoryTotal::writeJson(ObjectWriter& out) const
{
    out.set("category", category)
        .set("kind", kind)
        .set("color", color)
        .set("amount", amount)
        .set("count", count)
        .set("share", share);
}

SpenderTotal SpenderTotal::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("spender"), in.required<double>("expense"), in.required<double>("income"),
        in.required<int>("count") };
}

void SpenderTotal::writeJson(ObjectWriter& out) const
{
    out.set("spender", spender).set("expense", expense).set("income", income).set("count", count);
}

DayTotal DayTotal::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("date"), in.required<double>("expense"), in.required<double>("income") };
}

void DayTotal::writeJson(ObjectWriter& out) const
{
    out.set("date", date).set("expense", expense).set("income", income);
}

FinanceSummary FinanceSummary::fromJson(const ObjectReader& in)
{
    FinanceSummary summary;
    summary.month = in.required<QString>("month");
    summary.currency = in.required<QString>("currency");
    summary.expense = in.required<double>("expense");
    summary.income = in.required<double>("income");
    summary.net = in.required<double>("net");
    summary.count = in.required<int>("count");
    summary.previous_expense = in.valueOr<double>("previous_expense", 0);
    summary.by_category = in.required<std::vector<CategoryTotal>>("by_category");
    summary.by_spender = in.required<std::vector<SpenderTotal>>("by_spender");
    summary.daily = in.required<std::vector<DayTotal>>("daily");
    return summary;
}

void FinanceSummary::writeJson(ObjectWriter& out) const
{
    out.set("month", month)
        .set("currency", currency)
        .set("expense", expense)
        .set("income", income)
        .set("net", net)
        .set("count", count)
        .set("previous_expense", previous_expense)
        .set("by_category", by_category)
        .set("by_spender", by_spender)
        .set("daily", daily);
}

TrendPoint TrendPoint::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("period"), in.required<double>("expense"), in.required<double>("income"),
        in.required<double>("net"), in.required<int>("count") };
}

void TrendPoint::writeJson(ObjectWriter& out) const
{
    out.set("period", period).set("expense", expense).set("income", income).set("net", net).set("count", count);
}

FinanceTrend FinanceTrend::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("granularity"), in.required<QString>("month"),
        in.required<std::vector<TrendPoint>>("points") };
}

void FinanceTrend::writeJson(ObjectWriter& out) const
{
    out.set("granularity", granularity).set("month", month).set("points", points);
}

VoiceTextRequest VoiceTextRequest::fromJson(const ObjectReader& in)
{
    return { in.required<QString>("text"), in.optional<QString>("currency"), in.optional<QString>("spender") };
}

void VoiceTextRequest::writeJson(ObjectWriter& out) const
{
    out.set("text", text).set("currency", currency).set("spender", spender);
}

VoiceTextResponse VoiceTextResponse::fromJson(const ObjectReader& in)
{
    return { in.required<bool>("ok"), in.required<int>("pending_id"), in.required<QJsonObject>("parsed") };
}

void VoiceTextResponse::writeJson(ObjectWriter& out) const
{
    out.set("ok", ok).set("pending_id", pending_id).set("parsed", parsed);
}

} // namespace wire
