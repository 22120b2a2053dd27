#include "engine/import/import_fixture.h"

namespace panedeck::engine::tests {
namespace {

/// A node of the newer form; `more` is written behind the call frame.
std::string node(int id, const std::string& name, const std::string& more = "") {
    return "{\"id\":" + std::to_string(id) + ",\"callFrame\":{\"functionName\":\"" + name +
           "\",\"scriptId\":\"0\",\"url\":\"\",\"lineNumber\":-1,\"columnNumber\":-1}" +
           (more.empty() ? "" : ",") + more + "}";
}

const std::string two_frames = "{\"nodes\":[" + node(1, "(root)", "\"children\":[2]") + "," +
                               node(2, "a", "\"children\":[3]") + "," + node(3, "b") + "],";

TEST(V8Importer, makes_these_trees) {
    checkCases({
        {"samples weigh their time differences",
         two_frames + R"("samples":[2,3,3,1],"timeDeltas":[5,10,20,40]})", "* 40\na 5\n b 30\n"},
        {"without differences each weighs 1", two_frames + R"("samples":[2,3,3,1]})", "* 1\na 1\n b 2\n"},
        {"without samples hit counts count",
         "{\"nodes\":[" + node(1, "(root)", "\"children\":[2]") + "," + node(2, "a", "\"hitCount\":7") + "]}",
         "a 7\n"},
        {"with an empty array of samples too",
         "{\"samples\":[],\"timeDeltas\":[],\"nodes\":[" + node(1, "a", "\"hitCount\":7") + "]}", "a 7\n"},
        {"places are counted from 1, an empty name is anonymous",
         R"({"nodes":[{"id":1,"callFrame":{"functionName":"","url":"f.js","lineNumber":0,"columnNumber":9}}],"samples":[1]})",
         "(anonymous) @f.js:1:10 1\n"},
        {"functions differ by place",
         R"js({"nodes":[{"id":1,"callFrame":{"functionName":"(root)"},"children":[2,3,4]},
             {"id":2,"callFrame":{"functionName":"a","url":"f.js","lineNumber":1,"columnNumber":1}},
             {"id":3,"callFrame":{"functionName":"a","url":"f.js","lineNumber":1,"columnNumber":2}},
             {"id":4,"callFrame":{"functionName":"a","url":"f.js","lineNumber":1,"columnNumber":1}}],"samples":[2,3,4]})js",
         "a @f.js:2:2 2\na @f.js:2:3 1\n"},
        {"parents instead of children, in any order",
         "{\"nodes\":[" + node(7, "b", "\"parent\":5") + "," + node(5, "a", "\"parent\":-3") + "," +
             node(-3, "(root)") + "],\"samples\":[7,5]}",
         "a 1\n b 1\n"},
        {"children win over a contradicting parent",
         "{\"nodes\":[" + node(1, "(root)", "\"children\":[2]") + "," + node(2, "a", "\"children\":[3]") +
             "," + node(3, "b", "\"parent\":1") + "],\"samples\":[3]}",
         "a\n b 1\n"},
        {"a root of another name is a frame", "{\"nodes\":[" + node(1, "main") + "],\"samples\":[1]}",
         "main 1\n"},
        {"unneeded fields of any kind",
         R"({"x":[[{"nodes":[1,null]}]],"startTime":1.5,"y":null,"nodes":[{"id":1,"z":{"id":"q"},"deoptReason":null,
             "positionTicks":[{"line":1,"ticks":2}],"callFrame":{"functionName":"a","scriptId":3}}],"samples":[1],"t":true})",
         "a 1\n"},
        {"numbers as text, fields that are null",
         R"({"head":null,"nodes":[{"id":1,"parent":null,"children":[2],"callFrame":null},
             {"id":2,"children":null,"hitCount":"3","callFrame":{"functionName":null,"url":"f.js","lineNumber":"4","columnNumber":null}}]})",
         "(anonymous)\n (anonymous) @f.js:5:0 3\n"},
        {"decimal differences", two_frames + R"("samples":[2,3],"timeDeltas":[0.5,3]})", "a 0.5\n b 3\n"},
        {"escapes in names, whole and half surrogate pairs",
         "{\"nodes\":[" + node(1, R"(\u0041\ud834\udd1e\ud834x\udd1e\\ud834\"\n)") + "],\"samples\":[1]}",
         "A\U0001D11E\uFFFDx\uFFFD\\ud834\"\n 1\n"},
        {"broken UTF-8 in names", "{\"nodes\":[" + node(1, "a\xFF") + "],\"samples\":[1]}", "a\uFFFD 1\n"},
    });
}

TEST(V8Importer, reads_the_older_form) {
    const std::string head =
        R"js({"typeId":"CPU","head":{"functionName":"(root)","url":"","lineNumber":-1,"id":1,"hitCount":0,"children":[
            {"children":[{"functionName":"b","url":"f.js","lineNumber":5,"id":3,"children":[]}],
             "functionName":"a","url":"f.js","lineNumber":0,"id":2}]},)js";
    checkCases({
        {"differences of time stamps, the first is 0",
         head + R"("samples":[2,3,3],"timestamps":[100,130,135,999]})", "a @f.js:1:0\n b @f.js:6:0 35\n"},
        {"no time stamps", head + R"("samples":[2,3,3]})", "a @f.js:1:0 1\n b @f.js:6:0 2\n"},
    });
    std::string from_one = head + R"("samples":[2]})";
    from_one.replace(from_one.find("-1"), 2, "0");
    EXPECT_EQ(treeOf(importText(from_one)), "a @f.js 1\n b @f.js:5:0\n");
}

TEST(V8Importer, counts_samples_that_it_changes_or_skips) {
    checkCases({
        {"negative differences weigh 0",
         two_frames + R"("samples":[2,3,3,2],"timeDeltas":[5,-10,-9223372036854775808,7]})",
         "a 12\n b\n2 samples adjusted: 2 with a negative time difference, which weigh 0 (samples 2, 3)\n"},
        {"fewer differences than samples", two_frames + R"("samples":[2,3,3],"timeDeltas":[5]})",
         "a 5\n b\n2 samples skipped: 2 without a time (samples 2, 3)\n"},
    });
    const Imported imported = importText(two_frames + R"("samples":[2,3,3],"timeDeltas":[5,-3,4]})");
    EXPECT_EQ(imported.profile.times, (std::vector<std::int64_t>{5000, 2000, 6000}));
    EXPECT_EQ(imported.profile.metrics.at(0).unit, MetricUnit::microseconds);
}

TEST(V8Importer, refuses_what_is_damaged) {
    const std::string samples = R"("samples":[1]})";
    const std::string open = "{\"nodes\":[";
    const std::vector<ImportCase> cases = {
        {"no nodes", "{\n}", "file:2: the JSON is no CPU profile: it has neither \"nodes\" nor \"head\""},
        {"empty nodes", R"({"nodes":[]})", "file:1: there are no nodes"},
        {"no sample", two_frames + "\"samples\":[]}", "file:1: there is no sample in it"},
        {"cut", two_frames + "\n\"samples\":[2,",
         "file:2: the JSON does not parse: Invalid value. (at byte 361)"},
        {"text behind the end", two_frames + R"("samples":[2]} x)",
         "file:1: the JSON does not parse: The document root must not be followed by other values. (at byte "
         "362)"},
        {"same id twice", open + node(1, "a") + "," + node(1, "b") + "]," + samples,
         "file:1: the node with id 1 is there more than once"},
        {"no id", R"({"nodes":[{"callFrame":{}}]})", "file:1: a node has no \"id\""},
        {"dangling child", open + "\n" + node(1, "a", "\"children\":[2]") + "]," + samples,
         "file:2: the node with id 1 has the child 2, which does not exist"},
        {"dangling parent", open + node(1, "a") + "," + node(2, "b", "\"parent\":3") + "]," + samples,
         "file:1: the node with id 2 has the parent 3, which does not exist"},
        {"dangling sample", two_frames + R"("samples":[2,9]})",
         "file:1: sample 2 names the node 9, which does not exist"},
        {"its own child", open + node(1, "a", "\"children\":[1]") + "]," + samples,
         "file:1: the nodes are no tree: each is below another one, so there is a cycle"},
        {"a cycle beside the root",
         open + node(1, "a") + "," + node(2, "b", "\"children\":[3]") + "," +
             node(3, "c", "\"children\":[2]") + "]," + samples,
         "file:1: the node with id 2 is on a cycle or below one"},
        {"two parents",
         open + node(1, "a", "\"children\":[2,3]") + "," + node(2, "b", "\"children\":[3]") + "," +
             node(3, "c") + "]," + samples,
         "file:1: the node with id 3 is the child of more than one node"},
        {"two roots", open + node(1, "a") + "," + node(2, "b") + "]," + samples,
         "file:1: the node with id 2 is a second root: the nodes are no tree"},
        {"nodes and head", R"({"head":{"id":1},"nodes":[]})",
         "file:1: there is more than one \"nodes\" or \"head\""},
        {"a total that would wrap", two_frames + R"("samples":[2,3],"timeDeltas":[9223372036854775807,1]})",
         "file:1: the total weight would exceed 9223372036854775807"},
        {"a weight that is too large", two_frames + R"("samples":[2],"timeDeltas":[9223372036854775808]})",
         "file:1: the total weight would exceed 9223372036854775807"},
        {"a weight beyond all numbers", two_frames + R"("samples":[2],"timeDeltas":[2.51e308]})",
         "file:1: \"timeDeltas\" holds a number that is too large"},
        {"nodes of the wrong kind", R"({"nodes":{}})", "file:1: \"nodes\" holds an object"},
        {"an id of the wrong kind", R"({"nodes":[{"id":"1"}]})", "file:1: \"id\" holds a text"},
        {"an id that is no integer", R"({"nodes":[{"id":1.5}]})",
         "file:1: \"id\" holds a number that is no 64-bit integer"},
        {"an id that is none", R"({"nodes":[{"id":null}]})", "file:1: \"id\" holds null"},
        {"no samples on purpose", R"({"samples":null})", "file:1: \"samples\" holds null"},
        {"a line that is no number", R"({"nodes":[{"lineNumber":"2x"}]})",
         "file:1: \"lineNumber\" holds a text"},
        {"children by id in the older form", R"({"head":{"children":[2]}})",
         "file:1: \"children\" holds a number"},
        {"a difference of the wrong kind", R"({"timeDeltas":[1,"2"]})",
         "file:1: \"timeDeltas\" holds a text"},
        {"hits out of range", R"({"nodes":[{"id":1,"hitCount":-1}]})",
         "file:1: \"hitCount\" holds a number out of its range"},
    };
    for (const ImportCase& test : cases)
        EXPECT_EQ(importText(test.text).message(), test.printed) << test.name;
}

/// The older form: a stack of `depth` frames, each inside its caller.
std::string nested(std::size_t depth) {
    std::string text = "{\"head\":{\"functionName\":\"(root)\",\"id\":0,\"children\":[";
    for (std::size_t i = 1; i <= depth; ++i)
        text += "{\"functionName\":\"f\",\"id\":" + std::to_string(i) + ",\"children\":[";
    for (std::size_t i = 1; i <= depth; ++i)
        text += "]}";
    return text + "]},\"samples\":[" + std::to_string(depth) + "]}";
}

TEST(V8Importer, takes_stacks_of_a_hundred_thousand_frames) {
    EXPECT_EQ(importText(nested(100'000)).profile.callsite_parents.size(), 100'001u);

    std::string text = "{\"nodes\":[";
    for (int i = 1; i <= 100'000; ++i)
        text += node(i, "f", "\"parent\":" + std::to_string(i + 1)) + ",";
    text += node(100'001, "(root)") + "],\"samples\":[1]}";
    EXPECT_EQ(importText(text).profile.callsite_parents.size(), 100'001u);
}

TEST(V8Importer, keeps_the_limits) {
    ImportLimits limits;
    limits.json_depth = 8;
    EXPECT_EQ(importText(nested(2), limits).message(), "");
    EXPECT_EQ(importText(nested(3), limits).message(), "file:1: the JSON is nested too deep");
    EXPECT_EQ(importText("{\"x\":" + std::string(1'000'000, '['), limits).message(),
              "file:1: the JSON is nested too deep");
    limits = {};
    limits.stack_frames = 3;
    EXPECT_EQ(importText(nested(3), limits).message(), "");
    EXPECT_EQ(importText(nested(4), limits).message(),
              "file:1: the node with id 4 has a stack that is too deep");
    limits = {};
    limits.name_bytes = 10;
    EXPECT_EQ(importText("{\"nodes\":[" + node(1, "abcdefghijk") + "]}", limits).message(),
              "file:1: \"functionName\" is longer than 10 bytes");
    limits.line_bytes = 1000;
    EXPECT_EQ(importText("{\"x\":\"" + std::string(2'000'000, 'x') + "\"}", limits).message(),
              "file:1: a JSON value is longer than 1000 bytes");
}

TEST(V8Importer, survives_a_cut_anywhere) {
    checkEveryCut(two_frames + R"("samples":[2,3,3,1],"timeDeltas":[5,-10,20.5,40],"x":[{"y":null}]})");
    checkEveryCut(nested(3));
}

} // namespace
} // namespace panedeck::engine::tests
