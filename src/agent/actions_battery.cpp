// Configuration requests of batteries: learn cycles and their schedule.
#include <algorithm>
#include <array>
#include <span>

#include "actions.h"

namespace kvda::actions {

namespace {

int64_t battery(W& w) {
    const int64_t g = w.ctrlNo();
    return w.numbered("BatteryID", kind::kBattery, g, "battery");
}

void learn(W& w, const vk::MethodBit& operation, long long seconds, const char* what) {
    const int64_t oid = battery(w);
    if (!canNow(w.e, *w.e.byOid(oid), operation))
        w.notPossible(label(*w.e.byOid(oid)) + " is not ready for a learn cycle (state " +
                      w.e.byOid(oid)->get("ObjState") + ")");
    Object& b = w.obj(oid);
    b.set("LearnState", "1");
    b.set("ObjState", std::to_string(state::kLearning));
    startOp(b, op::kLearn, seconds);
    w.alert(std::string(what) + " started on " + label(*w.e.byOid(oid)), kAlertOpStarted);
    w.reply(oid);
}

void setBatteryStartLearn(W& w) {
    learn(w, method::battery::kStartLearn, 6 * 3600, "Learn cycle");
}

void setBatteryRecondition(W& w) {
    learn(w, method::battery::kRecondition, 8 * 3600, "Reconditioning");
}

void setBatteryDelayLearn(W& w) {
    const int64_t oid = battery(w);
    if (!w.opt("Days") && !w.opt("Hours"))
        w.fail(status::kMissingIdentifier, "setBatteryDelayLearn needs Days= or Hours=");
    const long long days = w.opt("Days") ? w.number("Days", 0, 7) : 0;
    const long long hours = w.opt("Hours") ? w.number("Hours", 0, 23) : 0;
    if (!canNow(w.e, *w.e.byOid(oid), method::battery::kDelayLearn))
        w.notPossible(label(*w.e.byOid(oid)) +
                      (w.e.byOid(oid)->num("LearnMode") != 1
                           ? " does not learn automatically"
                           : " is not ready (state " + w.e.byOid(oid)->get("ObjState") + ")"));
    Object& b = w.obj(oid);
    const long long delay = days * 24 + hours;
    if (delay > b.num("MaxLearnDelay"))
        w.notPossible("a delay of " + std::to_string(delay) + " hours is beyond the largest of " +
                      b.get("MaxLearnDelay") + " hours");
    b.set("LearnDelay", std::to_string(delay));
    b.set("NextLearnTime", std::to_string(b.num("NextLearnTime") + delay));
    w.reply(oid);
}

void setBatteryLearnMode(W& w) {
    const int64_t oid = battery(w);
    w.obj(oid).set("LearnMode", w.keyword("LearnMode", {"1", "2"}));
    w.reply(oid);
}

// clang-format off
constexpr std::array kRoutes{
    WriteRoute{vkacmd.setBatteryRecondition, setBatteryRecondition},
    WriteRoute{vkacmd.setBatteryStartLearn,  setBatteryStartLearn},
    WriteRoute{vkacmd.setBatteryDelayLearn,  setBatteryDelayLearn},
    WriteRoute{vkacmd.setBatteryLearnMode,   setBatteryLearnMode},
};
// clang-format on

}  // namespace

std::span<const WriteRoute> batteryRoutes() {
    return kRoutes;
}

}  // namespace kvda::actions
