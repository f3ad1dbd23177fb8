// vkreport and vkconfig run as programs against a fake plug-in: exit
// statuses, rendered text, XML and JSON documents, rights, dry runs.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include "host_fixture.h"

namespace {

using namespace vk::host::test;

// ---- exit status and output by answer ---------------------------------------

struct AnswerCase {
    const char* program;
    std::vector<std::string> args;
    int exit;
    const char* out;  // expected within standard output ("" when it must be empty)
    std::string err;  // expected standard error, whole
};

TEST_F(HostTest, ExitStatusAndOutputFollowTheAnswer) {
    // clang-format off
    const std::vector<AnswerCase> cases = {
        {"vkreport", {"storage", "pdisk"},              0, "ObjID    : 0:0:1", ""},
        {"vkreport", {"storage", "kind0"},              0, "GlobalNo : 3",     ""},
        {"vkreport", {"storage", "empty"},              0, "No objects found.", ""},
        {"vkconfig", {"storage", "empty"},              0, "The command was carried out.", ""},
        {"vkreport", {"system", "summary"},             0, "Name : srv1",      ""},
        {"vkreport", {"storage", "text"},               0, "Version 4.2.1\n",  ""},
        {"vkreport", {"storage", "-?"},                 0, "tarncachedisk  cached LUNs", ""},
        {"vkreport", {"storage", "help"},               0, "Usage: vkreport storage OBJECT", ""},
        {"vkconfig", {"storage", "-?"},                 0, "Usage: vkconfig storage OBJECT action=ACTION", ""},
        {"vkreport", {"storage", "usagexml"},           0, "vkreport storage usagexml action=blink controller=<id> [mode=on|off]\n", ""},
        {"vkreport", {"storage", "msg", "1200", "a"},   0, "message 1200: a; valid values: blink, unblink", ""},
        {"vkreport", {"storage", "fail"},               1, "", "vkreport: Physical disk 0:9 not found.\n"},
        {"vkreport", {"storage", "msg", "1603"},        1, "", "vkreport: message 1603: action=blinq; valid values: blink, unblink\n"},
        {"vkreport", {"storage", "msg", "7001"},        1, "", "vkreport: message 7001: action=blinq; valid values: blink, unblink\n"},
        {"vkconfig", {"storage", "msg", "1504"},        2, "", "vkconfig: The action action=blinq is not valid. Valid actions: blink, unblink\n"},
        {"vkreport", {"storage", "msg", "1500", "controller"}, 2, "", "vkreport: controller= is required. It takes: blink, unblink\n"},
        {"vkreport", {"storage", "msg", "1507"},        2, "", "vkreport: The action action=blinq needs one of: blink, unblink\n"},
        // A bare command the plug-in does not answer lists what it takes.
        {"vkreport", {"storage"},                       0, "Usage: vkreport storage OBJECT", ""},
        {"vkconfig", {"storage"},                       0, "Usage: vkconfig storage OBJECT", ""},
        {"vkreport", {"storage", "null", "a=b"},        2, "", "vkreport: command not understood: 'vkreport storage null' (try 'vkreport storage -?')\n"},
        {"vkreport", {"storage", "unknown", "a=b"},     2, "", "vkreport: command not understood: 'vkreport storage unknown' (try 'vkreport storage -?')\n"},
        {"vkreport", {"storage", "msg", "1590", "kvda", "state file /x.db: damaged"}, 4, "", "vkreport: The data agent kvda is not available: state file /x.db: damaged\n"},
        {"vkreport", {"storage", "msg", "1591", "vkreport storage x"}, 4, "", "vkreport: The command vkreport storage x is not available yet.\n"},
        {"vkreport", {"storage", "msg", "1592"},        4, "", "vkreport: Out of memory: the command could not be carried out.\n"},
        {"vkreport", {"storage", "usagebad"},           4, "", "vkreport: no usage text for message 6999 in " + (fs::path(VK_TEST_SHARE_DIR) / "messages.txt").string() + "\n"},
        {"vkreport", {"storage", "empty0"},             4, "", "vkreport: the plug-in gave an empty answer for 'vkreport storage empty0'\n"},
    };
    // clang-format on
    for (const AnswerCase& c : cases) {
        SCOPED_TRACE(std::string(c.program) + " " + c.args.front() + " " + c.args.back());
        const Result r = Run(c.program, c.args);
        EXPECT_EQ(r.exit, c.exit);
        if (*c.out == '\0') {
            EXPECT_EQ(r.out, "");
        } else {
            EXPECT_NE(r.out.find(c.out), std::string::npos) << r.out;
        }
        EXPECT_EQ(r.err, c.err);
    }
}

TEST_F(HostTest, FailuresOfRenderingAreInternal) {
    struct Case {
        std::vector<std::string> args;
        const char* part;  // VK_RENDER_PART, objects rendered at a time
        const char* err;
    };
    const std::vector<Case> cases = {
        {{"storage", "badxsl"}, nullptr, "missing.xsl not found"},
        {{"storage", "badxml"}, nullptr, "the plug-in's answer is not well-formed XML"},
        {{"storage", "badxml"}, "1", "the plug-in's answer is not well-formed XML"},
        {{"storage", "pdisk"},
         "all",
         "VK_RENDER_PART must be a number of objects from 1, not 'all'"},
        {{"storage", "pdisk"}, "0", "VK_RENDER_PART must be a number of objects from 1, not '0'"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args[1] + " " + (c.part != nullptr ? c.part : ""));
        env_["VK_RENDER_PART"] =
            c.part != nullptr ? std::optional<std::string>(c.part) : std::nullopt;
        const Result r = Run("vkreport", c.args);
        EXPECT_EQ(r.exit, 4);
        EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
    }
}

TEST_F(HostTest, ObjectsAreAlignedBlocksSeparatedByABlankLine) {
    const Result r = Run("vkreport", {"storage", "pdisk"});
    EXPECT_EQ(r.out,
              "GlobalNo : 0\n"
              "ObjID    : 0:0:1\n"
              "Name     : Disk & co\n"
              "\n"
              "GlobalNo    : 0\n"
              "ProductName : X1\n");
}

TEST_F(HostTest, PluginGetsProgramNameAndWordsAndIsAlwaysReleased) {
    Run("vkreport", {"--format=json", "storage", "pdisk", "controller=0"});
    const std::string calls = Calls();
    const size_t loaded = calls.find('\n') + 1;
    if (vktest::ChildrenKeepSystemRoot()) {
        EXPECT_EQ(calls.substr(0, loaded), "load SystemRoot=" + (dir_ / "trace").string() + "\n");
    }
    EXPECT_EQ(calls.substr(loaded),
              "rights vkreport storage pdisk controller=0\n"
              "send vkreport storage pdisk controller=0\n"
              "free\n"
              "destroy\n");
}

TEST_F(HostTest, UnloadablePluginIsAnInternalFailure) {
    env_["VK_PLUGIN"] = (dir_ / "nothere.so").string();
    const Result r = Run("vkreport", {"storage", "pdisk"});
    EXPECT_EQ(r.exit, 4);
    // The file, then the system's own reason.
    EXPECT_EQ(r.err.rfind("vkreport: cannot load the storage plug-in: " +
                              (dir_ / "nothere.so").string() + ": ",
                          0),
              0u)
        << r.err;

    env_["VK_PLUGIN"] = "/bin/true";  // loads as nothing usable either
    EXPECT_EQ(Run("vkreport", {"storage", "pdisk"}).exit, 4);
}

TEST_F(HostTest, BrokenCatalogueLineIsNamed) {
    const fs::path share = dir_ / "share";
    fs::create_directories(share);
    std::ofstream(share / "messages.txt") << "# comment\n1500\tfine\nabc\tnot a number\n";
    env_["VK_SHARE_DIR"] = share.string();
    const Result r = Run("vkreport", {"storage", "msg", "1500"});
    EXPECT_EQ(r.exit, 4);
    EXPECT_EQ(r.err, "vkreport: " + (share / "messages.txt").string() +
                         ":3: expected NUMBER<TAB>TEXT, found 'abc\tnot a number'\n");
}

// ---- options --------------------------------------------------------------

TEST_F(HostTest, OptionsAreCheckedBeforeTheCommand) {
    struct Case {
        const char* program;
        std::vector<std::string> args;
        int exit;
        const char* err;
    };
    // clang-format off
    const std::vector<Case> cases = {
        {"vkreport", {"--format=yaml", "storage", "pdisk"}, 2, "vkreport: unknown output format 'yaml': use text, xml or json\n"},
        {"vkreport", {"--bogus", "storage", "pdisk"},       2, "vkreport: unknown option '--bogus' (try 'vkreport --help')\n"},
        {"vkreport", {"--dry-run", "storage", "pdisk"},     2, "vkreport: --dry-run is only for vkconfig\n"},
        {"vkreport", {"--formt=json", "storage"},           2, "vkreport: unknown option '--formt=json' (did you mean --format?)\n"},
        {"vkreport", {"-x", "storage"},                     2, "vkreport: unknown option '-x' (try 'vkreport --help')\n"},
        {"vkreport", {"-f"},                                2, "vkreport: the option '-f' needs a value (try 'vkreport --help')\n"},
        {"vkreport", {"-f", "yaml", "storage"},             2, "vkreport: unknown output format 'yaml': use text, xml or json\n"},
        {"vkconfig", {"storage", "pdisk", "--dry-run"},     2, "vkconfig: the option '--dry-run' goes before the command words\n"},
        {"vkreport", {"storage", "-f", "json"},             2, "vkreport: the option '-f' goes before the command words\n"},
        {"vkreport", {"-?", "storage"},                     0, ""},
        {"vkreport", {"-h"},                                0, ""},
        {"vkconfig", {},                                    2, "vkconfig: no command given (try 'vkconfig storage -?' or 'vkconfig --help')\n"},
        {"vkconfig", {"--help"},                            0, ""},
        {"vkreport", {"--version"},                         0, ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        const Result r = Run(c.program, c.args);
        EXPECT_EQ(r.exit, c.exit);
        EXPECT_EQ(r.err, c.err);
    }
    EXPECT_EQ(Calls(), "") << "the plug-in is not loaded for these";
    EXPECT_EQ(Run("vkreport", {"--version"}).out.rfind("vkreport ", 0), 0u);
    EXPECT_NE(Run("vkconfig", {"--help"}).out.find("Usage: vkconfig [OPTIONS]"), std::string::npos);
}

TEST_F(HostTest, OptionsTakeEverySpellingAndEndAtTheCommandWords) {
    struct Case {
        std::vector<std::string> args;
        bool json;
        const char* sent;  // the line the plug-in got
    };
    // clang-format off
    const std::vector<Case> cases = {
        {{"--format=json", "storage", "pdisk"},            true,  "vkreport storage pdisk"},
        {{"--format", "json", "storage", "pdisk"},         true,  "vkreport storage pdisk"},
        {{"-f", "json", "storage", "pdisk"},               true,  "vkreport storage pdisk"},
        {{"-fjson", "storage", "pdisk"},                   true,  "vkreport storage pdisk"},
        {{"-f", "xml", "--format=json", "storage", "pdisk"}, true, "vkreport storage pdisk"},
        {{"--", "storage", "pdisk"},                       false, "vkreport storage pdisk"},
        // After the first command word every word is the command's, help
        // words included: they ask for the usage of the command they follow.
        {{"storage", "pdisk", "--help"},                   false, "vkreport storage pdisk --help"},
        {{"-f", "json", "storage", "-h", "pdisk"},         true,  "vkreport storage -h pdisk"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.front() + " " + c.args.back());
        std::ofstream(dir_ / "calls.log", std::ios::trunc).close();
        const Result r = Run("vkreport", c.args);
        EXPECT_EQ(r.exit, 0) << r.err;
        EXPECT_EQ(Json::accept(r.out), c.json) << r.out;
        EXPECT_NE(Calls().find(std::string("send ") + c.sent + "\n"), std::string::npos) << Calls();
    }
}

// ---- JSON -----------------------------------------------------------------

TEST_F(HostTest, JsonIsOneDocumentWithTheFields) {
    struct Case {
        std::vector<std::string> args;
        int exit;
        const char* status;
        std::optional<int> message;
        size_t objects;
    };
    // clang-format off
    const std::vector<Case> cases = {
        {{"storage", "pdisk", "controller=0"}, 0, "ok",      {},     2},
        {{"storage", "empty"},                 0, "ok",      {},     0},
        {{"storage", "text"},                  0, "ok",      {},     0},
        {{"storage", "-?"},                    0, "usage",   6000,   0},
        {{"storage", "fail"},                  1, "refused", {},     0},
        {{"storage", "msg", "1603"},           1, "refused", 1603,   0},
        {{"storage", "msg", "1502"},           2, "error",   1502,   0},
        {{"storage", "msg", "1590", "kvda"},   4, "error",   1590,   0},
        {{"storage"},                          0, "usage",   6000,   0},
        {{"storage", "null", "a=b"},           2, "error",   {},     0},
        {{"storage", "unknown", "a=b"},        2, "error",   {},     0},
        {{"storage", "badxsl"},                4, "error",   {},     0},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.back());
        std::vector<std::string> args{"--format=json"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        const Result r = Run("vkreport", args);
        EXPECT_EQ(r.exit, c.exit);
        ASSERT_TRUE(Json::accept(r.out)) << r.out;
        const Json doc = Json::parse(r.out);
        EXPECT_EQ(doc.at("status"), c.status);
        EXPECT_TRUE(doc.at("text").is_string());
        EXPECT_TRUE(doc.at("request").is_array());
        ASSERT_TRUE(doc.at("objects").is_array());
        EXPECT_EQ(doc.at("objects").size(), c.objects);
        EXPECT_EQ(doc.contains("message"), c.message.has_value());
        if (c.message) {
            EXPECT_EQ(doc.at("message"), *c.message);
        }
        if (c.exit != 0) {
            EXPECT_NE(r.err, "") << "a refusal is also told on standard error";
            EXPECT_EQ(r.out.find(r.err), std::string::npos);
        }
    }
}

TEST_F(HostTest, JsonCarriesObjectsRequestAndMessageTexts) {
    Json doc =
        Json::parse(Run("vkreport", {"--format=json", "storage", "pdisk", "controller=0"}).out);
    EXPECT_EQ(doc.at("objects")[0].at("ObjID"), "0:0:1");
    EXPECT_EQ(doc.at("objects")[0].at("Name"), "Disk & co");
    EXPECT_EQ(doc.at("objects")[1].at("ProductName"), "X1");
    EXPECT_EQ(doc.at("request"), Json::array({"vkacmd=getpdisk", "controller=0"}));
    EXPECT_NE(doc.at("text").get<std::string>().find("ObjID    : 0:0:1"), std::string::npos);

    doc = Json::parse(Run("vkreport", {"--format=json", "storage", "msg", "1504"}).out);
    EXPECT_EQ(doc.at("args"), Json::array({"action=blinq", "blink, unblink"}));
    EXPECT_EQ(doc.at("text"),
              "The action action=blinq is not valid. Valid actions: blink, unblink");

    doc = Json::parse(Run("vkreport", {"--format=json", "storage", "fail"}).out);
    EXPECT_EQ(doc.at("text"), "Physical disk 0:9 not found.");
}

TEST_F(HostTest, JsonCarriesItsSchemaAndTheWordsTheTextShows) {
    const Result r = Run("vkreport", {"--format=json", "storage", "vdisk"});
    ASSERT_TRUE(Json::accept(r.out)) << r.out << r.err;
    const Json doc = Json::parse(r.out);
    EXPECT_EQ(doc.at("schema"), 1);
    const Json& disk = doc.at("objects").at(0);
    // The raw tags stay as the agent gave them; beside them, what the text
    // shows for the codes and the sizes as numbers of bytes.
    EXPECT_EQ(disk.at("ObjState"), "16");
    EXPECT_EQ(disk.at("Length"), "1099511627776");
    EXPECT_EQ(disk.at("decoded"),
              Json({{"ObjState", "Degraded"}, {"Layout", "RAID-5"}, {"Length", "1.00 TB"}}));
    EXPECT_EQ(disk.at("bytes"), Json({{"Length", 1099511627776ull}}));
    // A tag shown as it stands is not repeated.
    EXPECT_FALSE(disk.at("decoded").contains("Name"));
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"--format=json", "storage", "msg", "1603"}, {"--format=json", "storage", "-?"}}) {
        EXPECT_EQ(Json::parse(Run("vkreport", args).out).at("schema"), 1);
    }
}

TEST_F(HostTest, JsonForErrorsBeforeThePluginAnswers) {
    env_["VK_PLUGIN"] = (dir_ / "nothere.so").string();
    Result r = Run("vkreport", {"--format=json", "storage", "pdisk"});
    EXPECT_EQ(r.exit, 4);
    ASSERT_TRUE(Json::accept(r.out)) << r.out;
    EXPECT_EQ(Json::parse(r.out).at("status"), "error");
    EXPECT_NE(Json::parse(r.out).at("text").get<std::string>().find("cannot load"),
              std::string::npos);

    r = Run("vkreport", {"--format=json", "--format=yaml"});
    EXPECT_EQ(r.exit, 2);
    ASSERT_TRUE(Json::accept(r.out)) << r.out;
}

// ---- XML ------------------------------------------------------------------

TEST_F(HostTest, XmlFormatPrintsOneDocument) {
    struct Case {
        const char* program;
        std::vector<std::string> args;
        int exit;
        const char* root;
    };
    // clang-format off
    const std::vector<Case> cases = {
        {"vkreport", {"--format=xml", "storage", "pdisk"},          0, "RESPONSE"},
        {"vkreport", {"--format=xml", "storage", "console"},        0, "RESPONSE"},
        {"vkreport", {"--format=xml", "storage", "fail"},           1, "RESPONSE"},
        {"vkreport", {"--format=xml", "storage", "msg", "1603"},    1, "Message"},
        {"vkreport", {"--format=xml", "storage", "-?"},             0, "Message"},
        {"vkreport", {"--format=xml", "storage", "text"},           0, "Text"},
        {"vkconfig", {"--format=xml", "--dry-run", "storage", "pdisk"}, 0, "DryRun"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args[2]);
        const Result r = Run(c.program, c.args);
        EXPECT_EQ(r.exit, c.exit);
        xmlDoc* doc = xmlReadMemory(r.out.data(), static_cast<int>(r.out.size()), "out.xml",
                                    nullptr, XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
        ASSERT_NE(doc, nullptr) << r.out;
        EXPECT_STREQ(reinterpret_cast<const char*>(xmlDocGetRootElement(doc)->name), c.root);
        xmlFreeDoc(doc);
    }
    EXPECT_NE(
        Run("vkreport", {"--format=xml", "storage", "msg", "1603"}).out.find("number=\"1603\""),
        std::string::npos);
}

// ---- console capture ---------------------------------------------------------

TEST_F(HostTest, PluginConsoleOutputIsKeptApart) {
    Result r = Run("vkreport", {"storage", "console"});
    EXPECT_EQ(r.exit, 0);
    // Printed as it came, before the rendering.
    const auto said = r.out.find("plug-in says hello\n");
    const auto raw = r.out.find("raw line\n");
    const auto rendered = r.out.find("GlobalNo : 0");
    ASSERT_NE(said, std::string::npos) << r.out;
    ASSERT_NE(raw, std::string::npos) << r.out;
    ASSERT_NE(rendered, std::string::npos) << r.out;
    EXPECT_LT(said, rendered);
    EXPECT_LT(raw, rendered);

    r = Run("vkreport", {"--format=json", "storage", "console"});
    ASSERT_TRUE(Json::accept(r.out)) << r.out;
    const std::string console = Json::parse(r.out).at("console");
    EXPECT_NE(console.find("plug-in says hello\n"), std::string::npos);
    EXPECT_NE(console.find("raw line\n"), std::string::npos);
    EXPECT_FALSE(Json::parse(Run("vkreport", {"--format=json", "storage", "pdisk"}).out)
                     .contains("console"));
}

// ---- dry run ---------------------------------------------------------------

TEST_F(HostTest, DryRunShowsTheRequestWithPassphrasesHidden) {
    Result r = Run("vkconfig", {"--dry-run", "storage", "pdisk", "action=blink",
                                "PassPhrase=s3cret", "newpassphrase=x2", "controller=0"});
    EXPECT_EQ(r.exit, 0);
    EXPECT_EQ(r.out,
              "Would send to kvda:\n"
              "  vkacmd=setpdisk\n"
              "  action=blink\n"
              "  passphrase=***\n"
              "  newpassphrase=***\n"
              "  controller=0\n");
    EXPECT_NE(Calls().find("flags 1\nsend "), std::string::npos) << Calls();

    r = Run("vkconfig", {"--format=json", "--dry-run", "storage", "pdisk", "action=blink",
                         "passphrase=s3cret"});
    EXPECT_EQ(r.out.find("s3cret"), std::string::npos);
    const Json doc = Json::parse(r.out);
    EXPECT_EQ(doc.at("status"), "dry-run");
    EXPECT_EQ(doc.at("request"),
              Json::array({"vkacmd=setpdisk", "action=blink", "passphrase=***"}));
}

TEST_F(HostTest, PassPhrasesReachThePluginLowerCasedAndAreNeverShown) {
    // The plug-in refuses the phrase and names it back as the offending value.
    const std::vector<std::string> line = {"storage",    "msg",      "1707",
                                           "passphrase", "S3cret!x", "PassPhrase=S3cret!x"};
    for (const char* format : {"--format=text", "--format=json", "--format=xml"}) {
        SCOPED_TRACE(format);
        std::vector<std::string> args{format};
        args.insert(args.end(), line.begin(), line.end());
        const Result r = Run("vkconfig", args);
        EXPECT_EQ(r.exit, 1);
        EXPECT_EQ(r.out.find("S3cret"), std::string::npos) << r.out;
        EXPECT_EQ(r.err.find("S3cret"), std::string::npos) << r.err;
    }
    EXPECT_EQ(Json::parse(Run("vkconfig", {"--format=json", "storage", "msg", "1707", "passphrase",
                                           "S3cret!x", "OldPassPhrase=S3cret!x"})
                              .out)
                  .at("args"),
              Json::array({"passphrase", "***"}));
    // Names are lower-cased on the way in; values are left alone.
    EXPECT_NE(
        Calls().find("send vkconfig storage msg 1707 passphrase S3cret!x passphrase=S3cret!x\n"),
        std::string::npos)
        << Calls();
    EXPECT_NE(Calls().find(" oldpassphrase=S3cret!x\n"), std::string::npos) << Calls();
}

// The real plug-in's trace at its most detailed level: pass phrases typed in
// any case never reach it (who may read the file: see the POSIX tests).
TEST_F(HostTest, TheTraceNeverHoldsAPassPhrase) {
    if (!vktest::ChildrenKeepSystemRoot()) GTEST_SKIP() << "the trace cannot be moved here";
    const fs::path traceDir = dir_ / "trace";
    const fs::path trace = traceDir / "kvclp.log";
    fs::create_directories(traceDir);
    env_["VK_PLUGIN"] = VK_TEST_REAL_PLUGIN;
    env_["KVDA_STATE"] = (dir_ / "estate.db").string();
    env_["KVDA_TIME_SCALE"] = "0";
    ASSERT_EQ(Run("vkreport", {"storage", "controller"}).exit, 0);
    ASSERT_TRUE(fs::exists(trace));

    std::ofstream(trace, std::ios::trunc)
        << "loglevel=4\nlogtarget=1\nlogpathfile=" << trace.string() << "\n";
    for (const char* format : {"--format=text", "--format=json"}) {
        Run("vkconfig",
            {format, "storage", "controller", "action=changesecuritykey", "controller=0",
             "keyid=k2", "PassPhrase=Phrase-New1", "OldPassPhrase=Phrase-Old1"});
        Run("vkconfig", {format, "storage", "controller", "action=createsecuritykey",
                         "controller=0", "keyid=k1", "PASSPHRASE=Phrase-New2"});
    }
    const std::string text = ReadFile(trace);
    EXPECT_NE(text.find("KVCLP:CLI_ARGS:vkconfig storage controller action=changesecuritykey "
                        "controller=0 keyid=k2 \n"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("Phrase-"), std::string::npos) << text;
}

TEST_F(HostTest, BadHostConfigurationIsToldAndIgnored) {
    WriteConf("colour=blue\nadmin_group=\n");
    const Result r = Run("vkreport", {"storage", "empty"});
    EXPECT_EQ(r.exit, 0);
    const std::string conf = (dir_ / "host.conf").string();
    EXPECT_EQ(r.err, "vkreport: warning: " + conf + ":1: unknown setting 'colour'\n" +
                         "vkreport: warning: " + conf +
                         ":2: admin_group is empty; keeping 'vkadmin'\n");
}

}  // namespace
