#include "handlers/request_handlers.h"
#include "logkit/component_logger.h"
#include "options/igeneral_options.h"
#include "options/iresult_options.h"
#include "options/isource_view_options.h"
#include "settingshub/global_storage.h"
#include "settingshub/product_locations.h"
#include "support/environment_guard.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace panedeck {
namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

std::vector<std::string> log_lines;

void keep_line(logkit1::level_t, std::string_view text) {
    log_lines.emplace_back(text);
}

class OptionsTest : public testing::Test {
protected:
    void SetUp() override {
        log_lines.clear();
        logkit1::set_log_observer(keep_line);
        settingshub2::IProductLocations::get()->setUserDirectory(m_folder.path());
    }
    void TearDown() override {
        logkit1::set_log_observer(nullptr);
        settingshub2::IProductLocations::get()->setUserDirectory("");
    }

    static bk2::sptr_t<settingshub2::IPropertyStorage> pages() {
        return settingshub2::IGlobalStorage::get()->getSubStorage("propertyPageData");
    }
    static void store(const char* section, const char* key, const variant_t& value) {
        variant_bag_t bag = pages()->readBag(section, {});
        bag.put(key, value);
        ASSERT_TRUE(pages()->writeBag(section, bag).succeeded());
    }
    static variant_bag_t get(bool fixed = false) {
        variant_bag_t response;
        EXPECT_TRUE(
            createOptionsRequestHandler(fixed)->handleRequest("get", {}, response, nullptr).succeeded());
        return response;
    }
    static variant_t answer(const char* key, bool fixed = false) {
        const variant_bag_t response = get(fixed);
        const variant_t* value = response.get_own_value(key);
        EXPECT_TRUE(value) << key;
        return value ? *value : variant_t();
    }
    static void set(const variant_bag_t& request) {
        variant_bag_t response;
        EXPECT_TRUE(
            createOptionsRequestHandler(false)->handleRequest("set", request, response, nullptr).succeeded());
        EXPECT_TRUE(response.is_empty());
    }

    tests::TemporaryFolder m_folder;
};

TEST_F(OptionsTest, GetReadsWhatIsStoredByItsKind) {
    const variant_t three_bytes = variant_t::binary("abc", 3);
    const struct {
        const char* section;
        const char* storage_key;
        const char* key;
        variant_t stored;
        variant_t expected;
    } cases[] = {
        {"generalPropPage", "consoleAppOutputDestination", "applicationOutputDestination", 1,
         "visualStudioOutput"},
        {"generalPropPage", "consoleAppOutputDestination", "applicationOutputDestination", 2,
         "productOutput"},
        {"generalPropPage", "consoleAppOutputDestination", "applicationOutputDestination", 7, "unknown"},
        {"generalPropPage", "consoleAppOutputDestination", "applicationOutputDestination", 0, "unknown"},
        {"generalPropPage", "consoleAppOutputDestination", "applicationOutputDestination", -1, "unknown"},
        {"generalPropPage", "consoleAppOutputDestination", "applicationOutputDestination", "2",
         "separateConsole"},
        {"generalPropPage", "removeCollectorRawData", "shouldRemoveRawCollectorData", bk2::u64_t{1} << 40,
         variant_t(true)},
        {"generalPropPage", "removeCollectorRawData", "shouldRemoveRawCollectorData", "true",
         variant_t(false)},
        {"generalPropPage", "displayVerboseMessages", "shouldDisplayVerboseCollectionLogMessages", 1.0,
         variant_t(false)},
        {"generalPropPage", "adbPath", "adbPath", 5, ""},
        {"savingPropPage", "resultNameTmplV2", "resultNameTemplate", three_bytes, "r@@@{at}"},
        {"sourceAssemblyPropPage", "tabSize", "sourceViewTabSize", bk2::u8_t{8}, 8},
        {"sourceAssemblyPropPage", "tabSize", "sourceViewTabSize", bk2::s64_t{8}, 4},
        {"sourceAssemblyPropPage", "tabSize", "sourceViewTabSize", 8.0, 4},
        {"sourceAssemblyPropPage", "assemblyStyle", "cpuAssemblySyntax", 3, "unknown"},
    };
    for (const auto& entry : cases) {
        store(entry.section, entry.storage_key, entry.stored);
        EXPECT_EQ(answer(entry.key), entry.expected)
            << entry.key << " " << bk2::get_value_string(entry.stored);
    }
}

TEST_F(OptionsTest, TheInterfacesReadWhatSetStored) {
    variant_bag_t request;
    request.put_own_value("applicationOutputDestination", "visualStudioOutput");
    request.put_own_value("shouldRemoveRawCollectorData", variant_t(true));
    request.put_own_value("adbPath", "/opt/adb");
    request.put_own_value("resultNameTemplate", "mine@");
    request.put_own_value("sourceViewTabSize", 3);
    request.put_own_value("cpuAssemblySyntax", "MASM");
    set(request);
    const auto general = IGeneralOptions::load(false);
    EXPECT_EQ(general->getApplicationOutputDestination(), ApplicationOutputDestination::visualStudioOutput);
    EXPECT_EQ(IGeneralOptions::load(true)->getApplicationOutputDestination(),
              ApplicationOutputDestination::productOutput);
    EXPECT_TRUE(general->shouldRemoveRawCollectorData());
    EXPECT_FALSE(general->shouldDisplayVerboseCollectionLogMessages());
    EXPECT_EQ(general->getAdbPath(), "/opt/adb");
    EXPECT_EQ(IResultOptions::load()->getResultNameTemplate(), "mine@");
    EXPECT_EQ(ISourceViewOptions::load()->getSourceViewTabSize(), 3);
    EXPECT_EQ(ISourceViewOptions::load()->getCpuAssemblySyntax(), CpuAssemblySyntax::masm);
    EXPECT_FALSE(ISourceViewOptions::load()->shouldCacheSourceFiles());
}

TEST_F(OptionsTest, WithoutAStorageDefaultsHoldAndTheAssertionIsLogged) {
    const tests::EnvironmentGuard home("HOME");
    const tests::EnvironmentGuard configuration_home("XDG_CONFIG_HOME");
    settingshub2::IProductLocations::get()->setUserDirectory("");
    ::unsetenv("XDG_CONFIG_HOME");
    ::unsetenv("HOME");
    EXPECT_EQ(answer("sourceViewTabSize"), variant_t(4));
    ASSERT_FALSE(log_lines.empty());
    EXPECT_NE(log_lines.front().find("globalStorage"), std::string::npos);
    EXPECT_NE(log_lines.back().find("storage"), std::string::npos);
    log_lines.clear();
    set({});
    EXPECT_FALSE(log_lines.empty()) << "set saves even when it was given no key";
}

} // namespace
} // namespace panedeck
