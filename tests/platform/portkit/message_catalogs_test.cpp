#include "portkit/message_catalogs.h"
#include "settingshub/product_locations.h"
#include "settingshub/user_language.h"
#include "support/environment_guard.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace portkit2 {
namespace {

namespace fs = std::filesystem;

TEST(Message, ArgumentsTakeTheirPlacesOnce) {
    const message_t message("%id", "%2 of %1%: %3 100% %");
    EXPECT_EQ(message.as_ustring({"a%2", "b"}), "b of a%2%: %3 100% %");
    EXPECT_EQ(message.as_ustring(), "%2 of %1%: %3 100% %");
    EXPECT_EQ(message_t("%id").as_ustring({"a"}), "%id");
}

class MessageCatalogs : public testing::Test {
protected:
    ~MessageCatalogs() override { catalogs.set_folders({}, nullptr); }

    message_catalogs_t& catalogs = message_catalogs_t::instance();
    panedeck::tests::TemporaryFolder m_folder;
};

TEST_F(MessageCatalogs, ReadersGoOnWhileTheLanguageChanges) {
    settingshub2::configureMessageCatalogs();
    const catalog_t* catalog = getMessageCatalog("panedeck1");
    ASSERT_TRUE(catalog);
    std::thread switching([this] {
        for (int round = 0; round < 20; ++round)
            EXPECT_TRUE(catalogs.set_language(round % 2 ? "de" : "en"));
    });
    for (int round = 0; round < 2000; ++round) {
        const ustring8 text = catalog->text("%language.code");
        EXPECT_TRUE(text == "en" || text == "de") << text;
    }
    switching.join();
    EXPECT_TRUE(catalog->message("").is_nil()) << "a catalog's own header is no message";
    EXPECT_FALSE(catalogs.set_language("../messages/en"));
    EXPECT_EQ(catalog->text("%language.code"), "de");
}

TEST_F(MessageCatalogs, WhatALanguageLacksIsSaidInEnglishAndADamagedFileIsReported) {
    const auto folder = fs::path(m_folder.path()) / "xx/LC_MESSAGES";
    fs::create_directories(folder);
    std::ofstream(folder / "panedeck1.mo") << "no catalog, but long enough to hold a header of one";
    std::string problem;
    const auto locations = settingshub2::IProductLocations::get();
    catalogs.set_folders({m_folder.path(), locations->findInstalledFolder("messages")},
                         [&](const std::string& text) { problem = text; });
    EXPECT_EQ(catalogs.languages(), (std::vector<std::string>{"de", "en", "xx"}));
    ASSERT_TRUE(catalogs.set_language("xx"));
    EXPECT_EQ(getMessageCatalog("panedeck1")->text("%language.code"), "en");
    EXPECT_TRUE(problem.starts_with((folder / "panedeck1.mo").string() + ": ")) << problem;
    for (const char* name : {"", "nobody", "../xx/LC_MESSAGES/panedeck1", "panedeck1.mo"})
        EXPECT_FALSE(getMessageCatalog(name)) << name;
}

TEST_F(MessageCatalogs, TheUsersChoiceCountsMoreThanTheEnvironment) {
    const panedeck::tests::EnvironmentGuard all("LC_ALL");
    const panedeck::tests::EnvironmentGuard messages("LC_MESSAGES");
    settingshub2::IProductLocations::get()->setUserDirectory(m_folder.path());
    ::unsetenv("LC_ALL");
    for (const auto& [locale, expected] :
         {std::pair{"de_AT.UTF-8", "de"}, {"C.UTF-8", "en"}, {"xx", "en"}, {"de@euro", "de"}}) {
        ::setenv("LC_MESSAGES", locale, 1);
        settingshub2::configureMessageCatalogs();
        EXPECT_EQ(catalogs.language(), expected) << locale;
    }
    EXPECT_TRUE(settingshub2::setUserLanguage("xx").failed());
    EXPECT_TRUE(settingshub2::setUserLanguage("en").succeeded());
    settingshub2::configureMessageCatalogs();
    EXPECT_EQ(catalogs.language(), "en");
    settingshub2::IProductLocations::get()->setUserDirectory("");
}

} // namespace
} // namespace portkit2
