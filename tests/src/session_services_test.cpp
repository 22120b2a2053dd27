#include "basekit/ref_counted.h"
#include "handlers/request_handlers.h"
#include "help/help_index.h"
#include "settingshub/product_locations.h"
#include "support/bag_from_xml.h"
#include "support/environment_guard.h"
#include "support/fake_queries.h"
#include "support/temporary_folder.h"
#include "utils/utils.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace panedeck {
namespace {

using bk2::variant_bag_t;
using settingshub2::IPropertyStorage;
using settingshub2::ISessionStorage;
using tests::bagFromXml;

std::string ask(const std::shared_ptr<IRequestHandler>& handler, const char* operation,
                const std::string& request, variant_bag_t* response = nullptr) {
    variant_bag_t ignored;
    return handler->handleRequest(operation, bagFromXml(request), response ? *response : ignored, nullptr)
        .as_string();
}

std::string layoutOf(const std::shared_ptr<IRequestHandler>& handler) {
    variant_bag_t response;
    ask(handler, "state:get", "<paneId>p</paneId><properties><layout type='bag'/></properties>", &response);
    const auto* value = response.get_own_value("layout");
    return value ? std::string(value->text()) : "";
}

TEST(StorageHandler, StateOfAnotherUserIsLeftAlone) {
    const tests::TemporaryFolder folder;
    const auto handler = createStorageRequestHandler(ISessionStorage::create(folder.path(), "ann"), nullptr);
    const std::pair<const char*, const char*> writes[] = {{"ann", "ann"}, {"bob", "ann"}, {"", "nobody"}};
    for (const auto& [user, expected] : writes) {
        const std::string value = *user ? user : "nobody";
        EXPECT_EQ(ask(handler, "state:set",
                      "<paneId>p</paneId><userId>" + std::string(user) + "</userId><properties><layout><_>" +
                          value + "</_></layout></properties>"),
                  "");
        EXPECT_EQ(layoutOf(handler), expected);
    }
}

TEST(StorageHandler, GroupingsOfEarlierVersionsAreReadWhereThereAreNoNewerOnes) {
    const tests::TemporaryFolder folder;
    const auto own = IPropertyStorage::open(folder.path(), "own");
    ASSERT_TRUE(own->writeBag("custom_groupings",
                              bagFromXml("<grouping_id><grouping_id>a:b</grouping_id></grouping_id>"))
                    .succeeded());
    const auto library = bk2::make_sptr<tests::FakeQueryLibrary>();
    library->queries["/a/b"] = bk2::make_sptr<tests::FakeQuery>("/a/b");
    const auto handler =
        createStorageRequestHandler(own, ISessionStorage::create(folder.path(), nullptr), library);
    variant_bag_t response;
    ask(handler, "state:get", "<paneId>p</paneId><properties><customGroupings type='bag'/></properties>",
        &response);
    const auto* grouping =
        response.get<variant_bag_t>("customGroupings")->get<variant_bag_t>("customGrouping");
    ASSERT_TRUE(grouping);
    EXPECT_EQ(grouping->get_own_value("query")->text(), "/a/b");
}

TEST(StorageHandler, WhatCannotBeWrittenIsToldWithTheSystemsTextAndMakesNoFolder) {
    const tests::TemporaryFolder folder;
    const auto gone = folder / "gone";
    const auto handler = createStorageRequestHandler(ISessionStorage::create(gone, nullptr), nullptr);
    EXPECT_EQ(ask(handler, "state:set", "<paneId>p</paneId><properties><a type='bag'/></properties>"),
              "FailedTo.Process.This.Operation: " + gone + ": No such file or directory");
    EXPECT_FALSE(std::filesystem::exists(gone));
}

TEST(SessionServices, WithoutAPlaceForSettingsEachHandlerSaysSo) {
    const tests::EnvironmentGuard home("HOME");
    const tests::EnvironmentGuard configuration_home("XDG_CONFIG_HOME");
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("HOME");
    const std::string pane = "<paneId>p</paneId><properties type='bag'/>";
    EXPECT_EQ(ask(createStorageRequestHandler(nullptr, nullptr), "global:get", pane),
              "FailedTo.Process.This.Operation: Invalid session storage pointer");
    const tests::TemporaryFolder folder;
    const auto session = ISessionStorage::create(folder.path(), nullptr);
    EXPECT_EQ(ask(createStorageRequestHandler(session, nullptr), "global:get", pane),
              "FailedTo.Process.This.Operation: Invalid storage pointer");
    EXPECT_EQ(
        ask(createGlobalStorageRequestHandler(), "get", "<sectionName>s</sectionName><property>p</property>"),
        "FailedTo.Process.This.Operation: Invalid global storage pointer");
    for (const char* operation : {"consent:get", "consent:set", "feature:usage"})
        EXPECT_EQ(ask(createProductStatisticRequestHandler(), operation, ""),
                  "FailedTo.Access.This.Object: feature statistic is not initialized");
}

TEST(HelpIndex, TakesWholeKeywordsAndNothingFromAFileThatDeclaresItsType) {
    const tests::TemporaryFolder folder;
    const auto path = folder / "index.HxK";
    const auto read = [&](const std::string& text) {
        std::ofstream(path) << text;
        std::string links;
        for (const auto& [term, url] : readHelpIndex(path))
            links += term + "=" + url + ";";
        return links;
    };
    const std::string keyword = "<Keyword Term='t'><x/><Jump Url='u'/><Jump Url='second'/></Keyword>";
    EXPECT_EQ(read("<i>" + keyword +
                   "<Keyword Term='a'><Jump Url='1'/></Keyword><Keyword Term='a'><Jump Url='2'/></Keyword>"
                   "<Keyword><Jump Url='u'/></Keyword><Keyword Term='b'/><Keyword Term='c'><Jump/></Keyword>"
                   "<deeper>" +
                   keyword + "</deeper><keyword Term='d'><Jump Url='u'/></keyword></i>"),
              "a=2;t=u;");
    std::ofstream(folder / "secret") << "secret";
    const std::string outside = "<!DOCTYPE i [<!ENTITY e SYSTEM 'file://" + (folder / "secret") + "'>]>";
    for (const std::string& text : {outside + "<i>" + keyword + "</i>", "<i>" + keyword,
                                    "<!DOCTYPE i><i>" + keyword + "</i>", std::string("\xff\xfe")})
        EXPECT_EQ(read(text), "") << text;
    EXPECT_TRUE(readHelpIndex(folder / "none").empty());
}

TEST(Utils, NamesAGroupingByItsLevels) {
    const auto function = bk2::make_sptr<tests::FakeInfoQuery>("Function");
    const auto thread = bk2::make_sptr<tests::FakeInfoQuery>("Thread");
    thread->levelBelow = tests::makeVector({function});
    EXPECT_EQ(getGroupingQueryDisplayName(thread), "Thread / Function");
    EXPECT_EQ(getGroupingQueryDisplayName(nullptr), "");
}

} // namespace
} // namespace panedeck
