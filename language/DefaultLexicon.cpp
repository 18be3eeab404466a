// The compiled-in words. Weights: 1 a place or shop (tells little about what was bought),
// 2 an ordinary word, 3 a word that settles the question (a thing only one category buys,
// an income or bookkeeping word).

#include "Lexicon.h"

namespace language {

namespace {

struct Row {
    const char16_t* category;
    int weight;
    const char16_t* keywords; // separated by '|'
};

constexpr Row expenseRows[] = {
    { u"餐饮", 2,
        u"午餐|午饭|中饭|中午饭|早餐|早饭|早点|晚餐|晚饭|夜宵|宵夜|吃饭|外卖|堂食|咖啡|拿铁|奶茶|饮料|果汁|可乐|火锅|"
        u"烧烤|"
        u"烤肉|炸鸡|汉堡|披萨|寿司|拉面|面条|米线|米粉|麻辣烫|饺子|包子|小笼包|点心|甜品|蛋糕|冰淇淋|雪糕|零食|快餐|"
        u"便当|盒饭|三明治|麦当劳|肯德基|星巴克|赛百味|餐厅|饭店|饭馆|食堂|小吃|聚餐|下午茶|酒吧|啤酒|喝酒|请吃饭|"
        u"lunch|dinner|breakfast|brunch|coffee|latte|cafe|pizza|burger|sushi|kfc|mcdonalds|starbucks|subway|"
        u"uber eats|ubereats|doordash|menulog|deliveroo|wine|beer|美团|饿了么|bubble tea|boba|矿泉水|瓶装水|饮用水" },
    { u"餐饮", 1, u"饭|餐|吃|喝|茶|面|酒" },
    { u"买菜", 2,
        u"买菜|菜市场|牛奶|鸡蛋|面包|水果|蔬菜|青菜|猪肉|牛肉|鸡肉|羊肉|海鲜|大米|面粉|酱油|调料|豆腐|苹果|香蕉|橙子|"
        u"葡萄|草莓|西瓜|土豆|番茄|西红柿|洋葱|食材|生鲜|粮油|groceries|grocery|coles|woolworths|woolies|"
        u"aldi|iga|harris farm|亚洲超市|apple|banana|fruit|vegetables|veggies|milk|eggs|bread|meat" },
    { u"买菜", 1, u"超市|市场|supermarket|costco|盒马|菜|肉|鱼|米|蛋" },
    { u"交通", 2,
        u"交通|交通费|打车|出租车|的士|网约车|滴滴|公交|巴士|地铁|电车|轻轨|火车|交通卡|加油|油费|汽油|停车|停车费|"
        u"过路费|高速费|车费|路费|共享单车|单车|船票|渡轮|洗车|修车|保养|车险|rego|taxi|uber|didi|bus|train|tram|"
        u"metro|myki|opal|petrol|fuel|parking|toll|lime|ferry|通勤" },
    { u"交通", 1, u"机场|车" },
    { u"购物", 2,
        u"购物|衣服|外套|裤子|裙子|鞋|鞋子|t恤|帽子|包包|电脑|笔记本电脑|耳机|键盘|鼠标|显示器|平板|ipad|iphone|相机|"
        u"家具|化妆品|护肤品|口红|香水|首饰|手表|电器|数码|手机壳|充电器|数据线|优衣库|uniqlo|淘宝|天猫|京东|拼多多|"
        u"亚马逊|amazon|ebay|宜家|ikea|jb hi-fi|shopping|clothes|家电|冰箱|洗衣机|微波炉|电视|空调|吸尘器|电饭煲|"
        u"烤箱|电风扇|取暖器|macbook|laptop|显卡|路由器|router|hub|硬盘|ssd|内存条|音箱|speaker|monitor|keyboard|"
        u"headphones|earbuds|airpods|charger|shoes|sneakers|jacket|"
        u"充电宝|power bank|手机支架" },
    { u"购物", 1, u"kmart|target|big w|商场|手机|myer|david jones" },
    { u"日用", 2,
        u"日用|日用品|纸巾|卫生纸|抽纸|洗衣液|洗衣粉|洗洁精|洗发水|护发素|沐浴露|牙膏|牙刷|毛巾|垃圾袋|保鲜膜|电池|"
        u"灯泡|工具|清洁|清洁剂|柔顺剂|理发|剪头发|剪发|干洗|快递|邮费|运费|寄快递|toiletries" },
    { u"日用", 1, u"bunnings|chemist" },
    { u"住房", 2, u"房租|租金|押金|物业|物业费|房贷|月供|中介费|搬家|管理费|rent|mortgage|bond|strata" },
    { u"水电网", 2,
        u"水电网|水电|电费|水费|燃气|燃气费|煤气|煤气费|网费|宽带|网络费|nbn|internet|electricity|gas bill|water "
        u"bill" },
    { u"通讯", 2,
        u"通讯|话费|手机费|电话费|手机充值|话费充值|手机话费|流量|电话卡|sim卡|sim|optus|telstra|vodafone|amaysim|"
        u"电话套餐" },
    { u"医疗", 2,
        u"医疗|医院|看病|挂号|医生|门诊|急诊|药|药店|买药|感冒药|牙医|牙科|洗牙|看牙|补牙|拔牙|体检|疫苗|医保|oshc|"
        u"眼镜|配眼镜|诊所|"
        u"处方|理疗|physio|gp|doctor|dentist|pharmacy|medicine|chemist warehouse" },
    { u"教育", 2,
        u"教育|学费|书|买书|课本|教材|课程|网课|培训|考试|报名费|雅思|托福|ielts|toefl|文具|打印|复印|讲座|补习|家教|"
        u"英语课|课|电子书|udemy|coursera|tuition|textbook" },
    { u"教育", 1, u"kindle" },
    { u"娱乐", 2,
        u"娱乐|电影|电影票|看电影|游戏|演唱会|ktv|唱歌|桌游|密室|剧本杀|展览|博物馆|游乐园|动物园|电玩|球赛|音乐会|"
        u"livehouse|steam|switch|ps5|xbox|movie|cinema|concert|game" },
    { u"娱乐", 1, u"门票|ticket|tickets|show" },
    { u"旅行", 2,
        u"旅行|旅游|机票|酒店|住宿|民宿|景点|签证|航班|火车票|高铁|租车|度假|出游|行李|airbnb|hotel|flight|visa|"
        u"booking.com" },
    { u"人情", 2,
        u"人情|红包|礼物|礼金|份子钱|份子|随份子|礼钱|随礼|请客|送礼|生日礼物|婚礼|礼品|捐款|捐赠|donation|gift" },
    { u"订阅", 2,
        u"订阅|会员|续费|月费|年费|网盘|云盘|vpn|netflix|spotify|youtube|youtube premium|icloud|chatgpt|disney|disney+|"
        u"apple music|apple one|爱奇艺|腾讯视频|优酷|大会员|patreon|google one|dropbox|notion|adobe|office 365|"
        u"subscription|stan|binge|kayo|prime|amazon prime" },
    { u"运动", 2,
        u"运动|健身|健身房|私教|游泳|羽毛球|网球|篮球|足球|乒乓球|瑜伽|普拉提|攀岩|滑雪|骑行|跑鞋|球场|场地费|"
        u"gym|yoga|pilates|swimming|tennis|badminton" },
    { u"宠物", 3, u"宠物|猫|猫粮|猫砂|猫罐头|猫咪|狗|狗粮|狗狗|宠物医院|兽医|逗猫棒|vet|pet" },
};

constexpr Row incomeRows[] = {
    { u"工资", 3, u"工资|薪水|薪资|发工资|salary|payslip|paycheck|wage" },
    { u"工资", 2, u"奖金|bonus" },
    { u"奖学金", 3, u"奖学金|助学金|scholarship|stipend" },
    { u"报销", 3, u"报销|报销款|reimbursement|reimburse" },
    { u"退款", 3, u"退款|退钱|退费|退货|refund|退税|tax refund|tax return" },
    { u"其他收入", 3, u"利息|卖掉|卖了|二手卖|兼职|外快|分红|股息|中奖|interest|dividend|返现|cashback" },
    { u"其他收入", 2, u"收入|收到|进账|卖|赚" },
};

constexpr Row reservedRows[] = {
    { u"转账", 4, u"转账|转给|转钱|还钱|transfer|还信用卡" },
    { u"余额调整", 4, u"余额调整|调整余额|平账" },
};

constexpr Row timeRows[] = {
    { u"工作", 2,
        u"工作|上班|加班|开会|会议|写代码|敲代码|编程|改bug|debug|写文档|回邮件|邮件|面试|办公|项目|写报告|汇报|出差|"
        u"coding|code|meeting|work|working|email|standup|review|report|报告" },
    { u"学习", 2,
        u"学习|写论文|论文|读书|看书|上课|听课|复习|预习|作业|写作业|背单词|单词|网课|考试|刷题|文献|看文献|自习|"
        u"图书馆|练习|研究|study|studying|reading|read|lecture|tutorial|paper|research|homework|thesis|读|assignment|"
        u"essay|exam|quiz|revision|revise|lab" },
    { u"吃饭", 2, u"吃饭|午饭|午餐|晚饭|晚餐|早饭|早餐|聚餐|宵夜|夜宵|吃|lunch|dinner|breakfast|brunch" },
    { u"家务", 2,
        u"家务|打扫|打扫卫生|拖地|扫地|洗衣服|晾衣服|叠衣服|洗碗|收拾|整理|倒垃圾|清洁|cleaning|laundry|dishes|洗|"
        u"vacuum|vacuuming" },
    { u"睡眠", 2, u"睡|睡觉|午睡|小睡|补觉|休息|躺|午休|打盹|nap|sleep|sleeping|rest" },
    { u"娱乐", 2,
        u"娱乐|游戏|打游戏|玩游戏|看剧|追剧|看电影|电影|刷手机|刷视频|b站|综艺|动漫|逛街|听歌|玩|youtube|netflix|"
        u"switch|game|gaming|movie" },
    { u"运动", 2,
        u"运动|跑步|跑|健身|游泳|瑜伽|散步|骑车|骑行|打球|篮球|羽毛球|爬山|锻炼|拉伸|普拉提|gym|yoga|workout|run|"
        u"running|"
        u"walk|swim|exercise|pilates|hiking|hike|徒步|badminton|tennis|网球|乒乓球|足球|football|soccer|basketball|"
        u"climbing|攀岩|cycling|swimming|jog|jogging" },
    { u"通勤", 2, u"通勤|坐车|开车|坐地铁|坐公交|地铁|公交|路上|commute|driving|drive" },
    { u"做饭", 2, u"做饭|煮饭|烧饭|做菜|下厨|备餐|做早饭|做午饭|做晚饭|做早餐|做午餐|做晚餐|cook|cooking" },
    { u"洗漱", 2, u"洗澡|洗漱|刷牙|洗头|洗脸|护肤|泡澡|shower" },
    { u"杂务", 2, u"杂务|杂事|买菜|取快递|办事|银行|理发|排队|跑腿|搬家|修东西|errands" },
};

template<class Add> void addRows(const Row* begin, const Row* end, Add add)
{
    for (const Row* row = begin; row != end; ++row) {
        const QString category = QString::fromUtf16(row->category);
        const QStringList keywords = QString::fromUtf16(row->keywords).split(u'|', Qt::SkipEmptyParts);
        for (const QString& keyword : keywords)
            add(keyword, category, row->weight);
    }
}

} // namespace

Lexicon Lexicon::buildDefaults()
{
    Lexicon lexicon;
    // The seeded categories, in the order the household sees them.
    for (const char16_t* name : { u"餐饮", u"买菜", u"交通", u"购物", u"日用", u"住房", u"水电网", u"通讯", u"医疗",
             u"教育", u"娱乐", u"旅行", u"人情", u"订阅", u"运动", u"宠物", u"其他" })
        lexicon.addFinanceCategory(QString::fromUtf16(name), EntryKind::expense);
    for (const char16_t* name : { u"工资", u"奖学金", u"报销", u"退款", u"其他收入" })
        lexicon.addFinanceCategory(QString::fromUtf16(name), EntryKind::income);
    for (const char16_t* name : { u"转账", u"余额调整" })
        lexicon.addFinanceCategory(QString::fromUtf16(name), EntryKind::reserved);

    auto finance = [&](EntryKind kind) {
        return [&lexicon, kind](const QString& keyword, const QString& category, int weight) {
            lexicon.addFinanceWord(keyword, category, kind, weight);
        };
    };
    addRows(std::begin(expenseRows), std::end(expenseRows), finance(EntryKind::expense));
    addRows(std::begin(incomeRows), std::end(incomeRows), finance(EntryKind::income));
    addRows(std::begin(reservedRows), std::end(reservedRows), finance(EntryKind::reserved));
    addRows(std::begin(timeRows), std::end(timeRows), [&](const QString& keyword, const QString& category, int weight) {
        lexicon.addTimeWord(keyword, category, weight);
    });

    lexicon.m_canonicalActivities = {
        { QStringLiteral("睡"), QStringLiteral("睡觉") },
        { QStringLiteral("跑"), QStringLiteral("跑步") },
        { QStringLiteral("吃"), QStringLiteral("吃饭") },
    };
    return lexicon;
}

} // namespace language
