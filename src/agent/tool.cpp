// kvda: the control tool of the simulated storage estate.
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "agent.h"
#include "answer.h"
#include "mechanics.h"
#include "os/arguments.h"
#include "os/console.h"
#include "profile.h"
#include "store.h"
#include "xml_text.h"

namespace fs = std::filesystem;
using namespace kvda;

namespace {

constexpr const char* kUsage =
    "usage: kvda init [--profile NAME|FILE | --generate KEY=VALUE,...] [--force]\n"
    "         (--generate keys: controllers, disks, vdisks, slots, media, base)\n"
    "       kvda profiles\n"
    "       kvda show [--format=json]\n"
    "       kvda send vkacmd=REQUEST [name=value...]\n"
    "       kvda set OBJECT TAG=VALUE...      (OBJECT as in: controller=0 pdisk=0:1:4)\n"
    "       kvda unset OBJECT TAG...\n"
    "       kvda fail OBJECT | kvda replace OBJECT\n"
    "       kvda alerts                          the alert log, oldest first\n"
    "       kvda time [advance DURATION]           (DURATION such as 90s, 10m, 2h, 1d)\n"
    "       kvda journal [--clear | --keep N]   (the journal keeps the last N requests)\n"
    "state file: $KVDA_STATE, else the user's state directory (vk/kvda.db)\n";

struct Usage : Error {
    using Error::Error;
};

int cmdInit(const std::vector<std::string>& args) {
    std::string profile, generate;
    bool force = false;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--force")
            force = true;
        else if (args[i] == "--profile" && i + 1 < args.size())
            profile = args[++i];
        else if (args[i].starts_with("--profile="))
            profile = args[i].substr(10);
        else if (args[i] == "--generate" && i + 1 < args.size())
            generate = args[++i];
        else if (args[i].starts_with("--generate="))
            generate = args[i].substr(11);
        else
            throw Usage("init: unknown argument '" + args[i] + "'");
    }
    if (!profile.empty() && !generate.empty())
        throw Usage("init: give --profile or --generate, not both");
    // refuse a bad profile before touching the state
    std::string origin, name;
    Estate estate;
    if (!generate.empty()) {
        origin = "a generated profile (" + generate + ")";
        name = "generated:" + generate;
        estate = buildEstate(generateProfile(generate), "generated profile");
    } else {
        name = profile.empty() ? "default" : profile;
        fs::path file = resolveProfile(name);
        origin = file.string();
        estate = buildEstate(readProfile(file), file.string());
    }
    fs::path state = defaultStatePath();
    if (fs::exists(state) && !force)
        throw Error("state file " + state.string() + " exists; add --force to replace it");
    // --force replaces a file, never a directory or a device
    if (fs::exists(state) && !fs::is_regular_file(state))
        throw Error("state file " + state.string() +
                    " is not a regular file; kvda init replaces only a file");
    try {
        Store store(state);
        store.replace(estate, name);
    } catch (const UnusableState&) {
        // no estate this kvda can use (not a database, damaged, another
        // version): made anew, its log and shared memory with it
        if (!force) throw;
        for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(state.string() + suffix);
        Store store(state);
        store.replace(estate, name);
    }
    std::cout << "kvda: " << state.string() << " initialised from " << origin << " ("
              << estate.all(kind::kController).size() << " controllers, "
              << estate.all(kind::kDisk).size() << " disks)\n";
    return 0;
}

int cmdProfiles() {
    fs::path dir = profilesDir();
    std::vector<fs::path> files;
    for (const auto& e : fs::directory_iterator(dir))
        if (e.path().extension() == ".json") files.push_back(e.path());
    std::sort(files.begin(), files.end());
    for (const auto& f : files) {
        std::string desc;
        try {
            desc = nlohmann::json::parse(readProfile(f)).value("description", "");
        } catch (const std::exception&) {
            desc = "(not valid JSON)";
        }
        std::cout << f.stem().string() << "\t" << desc << "\n";
    }
    return 0;
}

int cmdShow(Agent& agent, const std::vector<std::string>& args) {
    bool json = false;
    for (const auto& a : args) {
        if (a == "--format=json")
            json = true;
        else if (a != "--format=text")
            throw Usage("show: unknown argument '" + a + "'");
    }
    const Estate& e = agent.estate();
    if (json) {
        nlohmann::json out = nlohmann::json::array();
        for (const Object* o : e.everything()) {
            nlohmann::json props = nlohmann::json::object();
            for (const auto& [k, v] : effectiveProps(e, *o)) props[k] = v;
            nlohmann::json item{{"kind", o->kind}, {"address", o->addr}, {"properties", props}};
            if (o->ctrl >= 0) item["controller"] = o->ctrl;
            if (!o->overrides.empty()) item["overrides"] = o->overrides;
            out.push_back(item);
        }
        std::cout << out.dump(2) << "\n";
        return 0;
    }
    for (const Object* o : e.everything()) {
        std::cout << o->kind;
        if (o->ctrl >= 0) std::cout << " controller=" << o->ctrl;
        if (o->kind != kind::kController) std::cout << " " << o->addr;
        std::cout << "  ObjID=" << o->get("ObjID") << " Name=\"" << o->get("Name") << "\"";
        if (!o->get("ObjState").empty()) std::cout << " ObjState=" << o->get("ObjState");
        for (const auto& [k, v] : o->overrides) std::cout << " !" << k << "=" << v;
        std::cout << "\n";
    }
    return 0;
}

// Object words first (controller=0 pdisk=0:1:4), then the rest.
const Object& target(Agent& agent, const std::vector<std::string>& args,
                     std::vector<std::string>& rest) {
    std::vector<std::string> words;
    for (const auto& a : args) {
        std::string name = a.substr(0, a.find('='));
        (isAddressWord(name) ? words : rest).push_back(a);
    }
    Address ad = parseAddress(words);
    const Object* o = findAddressed(agent.estate(), ad);
    if (!o) {
        std::string all;
        for (const auto& w : words) appendListItem(all, " ", w);
        throw Error("no such object: " + all);
    }
    return *o;
}

int cmdSet(Agent& agent, const std::vector<std::string>& args, bool set) {
    std::vector<std::string> rest;
    const Object& o = target(agent, args, rest);
    if (rest.empty()) throw Usage(set ? "set: give TAG=VALUE" : "unset: give TAG");
    // Overrides are answered as elements: the same text as a request's, and
    // tags that are element names.
    try {
        checkRequestText(rest);
    } catch (const RequestError& e) {
        throw Error(e.message);
    }
    for (const auto& r : rest) {
        std::string tag = set ? r.substr(0, r.find('=')) : r;
        if (set && r.find('=') == std::string::npos)
            throw Usage("set: '" + r + "' is not TAG=VALUE");
        if (!isTagName(tag)) throw Error("bad tag name '" + tag + "'");
    }
    int64_t oid = o.oid;
    for (const auto& r : rest) {
        if (set) {
            auto eq = r.find('=');
            agent.store().setOverride(oid, r.substr(0, eq), r.substr(eq + 1));
        } else if (!agent.store().unsetOverride(oid, r)) {
            std::cerr << "kvda: " << r << " was not overridden\n";
        }
    }
    return 0;
}

int cmdFault(Agent& agent, const std::vector<std::string>& args, bool failed) {
    std::vector<std::string> rest;
    const Object& o = target(agent, args, rest);
    if (!rest.empty()) throw Usage("unexpected argument '" + rest.front() + "'");
    const int64_t oid = o.oid;
    agent.mutate([&](Estate& e, int64_t& now) {
        if (failed)
            failObject(e, now, oid);
        else
            replaceObject(e, now, oid);
    });
    return 0;
}

int cmdAlerts(Agent& agent) {
    for (const Object* a : agent.estate().all(kind::kAlert))
        std::cout << a->get("Time") << "  " << a->get("AlertID") << "  " << a->get("Severity")
                  << "  " << a->get("Message") << "\n";
    return 0;
}

int cmdTime(Agent& agent, const std::vector<std::string>& args) {
    if (!args.empty()) {
        if (args[0] != "advance" || args.size() != 2)
            throw Usage("time: expected 'kvda time' or 'kvda time advance DURATION'");
        const int64_t by = parseDuration(args[1]);
        agent.mutate([&](Estate& e, int64_t& now) {
            const int64_t to = advancedTime(now, by);
            advanceEstate(e, now, to);
            now = to;
        });
    }
    const int64_t now = agent.now();
    std::cout << "simulated time: " << formatClock(now) << " (" << formatDuration(now)
              << " since the estate was created; ";
    if (timeScale() == 0)
        std::cout << "stopped: only 'kvda time advance' moves it)\n";
    else
        std::cout << "runs at " << timeScale() << "x the wall clock)\n";
    return 0;
}

int cmdJournal(Agent& agent, const std::vector<std::string>& args) {
    if (args.size() == 1 && args[0] == "--clear") {
        agent.store().clearJournal();
        return 0;
    }
    if (args.size() == 2 && args[0] == "--keep") {
        int64_t n = 0;
        auto r = std::from_chars(args[1].data(), args[1].data() + args[1].size(), n);
        if (r.ec != std::errc() || r.ptr != args[1].data() + args[1].size())
            throw Usage("journal: --keep takes a number of requests, not '" + args[1] + "'");
        agent.store().setJournalSize(n);
        return 0;
    }
    if (!args.empty()) throw Usage("journal: unknown argument '" + args[0] + "'");
    for (const auto& l : agent.store().journalLines()) std::cout << l << "\n";
    return 0;
}

int run(const std::vector<std::string>& argv) {
    if (argv.empty()) throw Usage("no command given");
    const std::string& cmd = argv[0];
    std::vector<std::string> args(argv.begin() + 1, argv.end());
    if (cmd == "init") return cmdInit(args);
    if (cmd == "profiles") return cmdProfiles();
    if (cmd == "help" || cmd == "--help" || cmd == "-h") {
        std::cout << kUsage;
        return 0;
    }
    if (cmd != "show" && cmd != "send" && cmd != "set" && cmd != "unset" && cmd != "fail" &&
        cmd != "replace" && cmd != "journal" && cmd != "time" && cmd != "alerts")
        throw Usage("unknown command '" + cmd + "'");
    Agent agent(defaultStatePath());
    if (cmd == "show") return cmdShow(agent, args);
    if (cmd == "send") {
        if (args.empty() || !args[0].starts_with("vkacmd="))
            throw Usage("send: the first argument must be vkacmd=REQUEST");
        std::string answer = agent.send(args);
        std::cout << answer << "\n";
        return answer.find("<SMStatus>0</SMStatus>") == std::string::npos ? 1 : 0;
    }
    if (cmd == "set" || cmd == "unset") return cmdSet(agent, args, cmd == "set");
    if (cmd == "fail" || cmd == "replace") return cmdFault(agent, args, cmd == "fail");
    if (cmd == "time") return cmdTime(agent, args);
    if (cmd == "alerts") {
        if (!args.empty()) throw Usage("alerts: takes no arguments");
        return cmdAlerts(agent);
    }
    return cmdJournal(agent, args);
}

}  // namespace

int main(int argc, char** argv) {
    vk::os::UseBinaryStandardStreams();
    try {
        const std::vector<std::string> args = vk::os::Arguments(argc, argv);
        return run(std::vector<std::string>(args.begin() + (args.empty() ? 0 : 1), args.end()));
    } catch (const Usage& e) {
        std::cerr << "kvda: " << e.what() << "\n" << kUsage;
        return 2;
    } catch (const std::exception& e) {
        std::cerr << "kvda: " << e.what() << "\n";
        return 1;
    }
}
