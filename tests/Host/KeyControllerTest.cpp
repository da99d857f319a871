// Key events in their stored and display forms, the controller tree where the newest controller
// wins, and key tables that survive their hotkey settings file.
#include "Base/Host/KeyController.h"
#include "Base/Language/TranslatedString.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace QELTA {

void PrintTo(KeyEvent const & event, std::ostream * out) {
    *out << "key " << event.key << ", modifiers " << int{event.modifiers} << ", device " << event.device;
}

namespace {

std::string Stored(KeyEvent const & event) {
    StringAllocatingView out;
    StringStream<KeyEvent>::toString(event, out);
    return std::string(out.view());
}

std::string Display(KeyEvent const & event) {
    TranslatedString out;
    StringStream<KeyEvent>::toDisplayString(event, out);
    return std::string(out.translation());
}

TEST(KeyEventTest, StoredFormIsThreeNumbersAndReadsOnlyThreeFields) {
    EXPECT_EQ(Stored(KeyEvent(65, KeyEvent::SHIFT | KeyEvent::CONTROL, 7)), "65\x1D"
                                                                            "3\x1D"
                                                                            "7");
    struct Case {
        char const * text;
        KeyEvent expected;
    } const cases[] = {
        {"65\x1D"
         "3\x1D"
         "7",
         KeyEvent(65, 3, 7)},
        {"+513\x1D"
         "0\x1D"
         "0",
         KeyEvent(513, 0, 0)},
        {"", KeyEvent()},
        {"65\x1D"
         "3",
         KeyEvent(1, 1, 1)}, // two fields: unchanged
        {"65\x1D"
         "3\x1D"
         "7\x1D"
         "9",
         KeyEvent(1, 1, 1)}, // four fields: unchanged
        {"ctrl+a", KeyEvent(1, 1, 1)},
        {"x\x1D"
         "300\x1D",
         KeyEvent(4294967295u, 44, 4294967295u)}, // each field by its number rules
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        KeyEvent value(1, 1, 1);
        StringStream<KeyEvent>::fromString(StringView(test.text), value);
        EXPECT_EQ(value, test.expected);
        if (value == test.expected && !(value == KeyEvent(1, 1, 1))) {
            KeyEvent again(1, 1, 1);
            StringStream<KeyEvent>::fromString(StringView(Stored(value)), again);
            EXPECT_EQ(again, value);
        }
    }
}

TEST(KeyEventTest, DisplayTextOfPlainKeysModifiersAndSpecialCodes) {
    struct Case {
        KeyEvent event;
        char const * expected;
    } const cases[] = {
        {KeyEvent(65, 0), "A"},
        {KeyEvent(65, KeyEvent::CONTROL | KeyEvent::SHIFT), "SHIFT+CTRL+A"},
        {KeyEvent(49, KeyEvent::FUNCTION | KeyEvent::ALT), "FUNCTION+ALT+1"},
        {KeyEvent(KeyEvent::shift_key, KeyEvent::SHIFT), "SHIFT"},
        {KeyEvent(KeyEvent::alt_key, KeyEvent::ALT | KeyEvent::SHIFT), "SHIFT+ALT"},
        {KeyEvent(KeyEvent::right_control_key, KeyEvent::CONTROL), "RCTRL"},
        {KeyEvent(32, 0), "SPACE"},
        {KeyEvent(KeyEvent::escape_key, 0), "ESC"},
        {KeyEvent(KeyEvent::enter_key, KeyEvent::ALT), "ALT+ENTER"},
        {KeyEvent(KeyEvent::tab_key, 0), "\t"},
        {KeyEvent(112, 0), "F1"},
        {KeyEvent(135, 0), "F24"},
        {KeyEvent(136, 0), "(136)"},
        {KeyEvent(96, 0), "0"},
        {KeyEvent(97, 0), "(97)"},
        {KeyEvent(187, KeyEvent::SHIFT), "SHIFT++"},
        {KeyEvent(189, 0), "-"},
        {KeyEvent(92, 0), "\\"},
        {KeyEvent(305, 0), "B"},
        {KeyEvent(306, 0), "(306)"},
        {KeyEvent(KeyEvent::volume_down_key, 0), "VOL-"},
        {KeyEvent(300, 0), "(300)"},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.expected);
        EXPECT_EQ(Display(test.event), test.expected);
    }
    EXPECT_EQ(KeyEvent(65, 0).toChar(), 'a');
    EXPECT_EQ(KeyEvent(65, KeyEvent::SHIFT).toChar(), 'A');
    EXPECT_EQ(KeyEvent(KeyEvent::enter_key, 0).toChar(), '\n');
}

// Takes the keys it is given and records what it was asked.
class Recorder : public KeyControllerBase {
  public:
    Recorder(std::string name, std::vector<std::string> & log, std::uint32_t key)
        : name_(std::move(name)), log_(log), key_(key) {}
    bool processKeyEvent(KeyEvent const & event, DesignObjectLookup *, Camera *) override {
        log_.push_back(name_);
        return event.key == key_;
    }

  private:
    std::string name_;
    std::vector<std::string> & log_;
    std::uint32_t key_;
};

TEST(KeyControllerTest, TheNewestControllerIsAskedFirst) {
    std::vector<std::string> log;
    Recorder older("older", log, 65);
    Recorder newer("newer", log, 65);
    Recorder other("other", log, 66);
    KeyController inner;
    inner.addController(UUID::CreateUUID(), &other);
    KeyController root;
    UUID const older_id = UUID::CreateUUID();
    UUID const newer_id = UUID::CreateUUID();
    root.addController(older_id, &older);
    root.addController(UUID::CreateUUID(), &inner);
    root.addController(newer_id, &newer);
    root.addController(older_id, &other); // a known id changes nothing

    EXPECT_TRUE(root.processKeyEvent(KeyEvent(65, 0), nullptr, nullptr));
    EXPECT_EQ(log, (std::vector<std::string>{"newer"}));
    log.clear();
    EXPECT_TRUE(root.processKeyEvent(KeyEvent(66, 0), nullptr, nullptr));
    EXPECT_EQ(log, (std::vector<std::string>{"newer", "other"}));
    log.clear();
    EXPECT_FALSE(root.processKeyEvent(KeyEvent(67, 0), nullptr, nullptr));
    EXPECT_EQ(log, (std::vector<std::string>{"newer", "other", "older"}));

    root.removeController(newer_id);
    EXPECT_FALSE(root.hasController(newer_id));
    EXPECT_EQ(root.controllers().size(), 2u);
    log.clear();
    EXPECT_TRUE(root.processKeyEvent(KeyEvent(65, 0), nullptr, nullptr));
    EXPECT_EQ(log, (std::vector<std::string>{"other", "older"}));
    root.removeController(older_id);
    EXPECT_FALSE(root.processKeyEvent(KeyEvent(65, 0), nullptr, nullptr));
    EXPECT_FALSE(KeyController().processKeyEvent(KeyEvent(65, 0), nullptr, nullptr));
}

// Zoom on "+" and pan on "P", from any device; "select" on the pad button A of pad 2 only.
class SurveyKeys : public BasicKeyController {
  public:
    SurveyKeys() : BasicKeyController(TranslatedString::DirectString("Survey Keys")) {}
    void addDefaultKeyOptions() override {
        addKeyOption({String("zoom"), TranslatedString::DirectString("Zoom"), KeyEvent(187, 0), 0});
        addKeyOption({String("pan"), TranslatedString::DirectString("Pan"), KeyEvent(80, KeyEvent::SHIFT), 0});
        addKeyOption({String("select"), TranslatedString::DirectString("Select"), KeyEvent(304, 0), 2});
    }
    bool handleKey(StringView const & id, KeyEvent const &, DesignObjectLookup *, Camera *) override {
        taken.emplace_back(id);
        return id != StringView("pan") || pan_taken;
    }
    std::vector<std::string> taken;
    bool pan_taken = true;
};

TEST(BasicKeyControllerTest, MatchesKeyModifiersAndDevice) {
    SurveyKeys keys;
    keys.addDefaultKeyOptions();
    struct Case {
        KeyEvent event;
        bool taken;
    } const cases[] = {
        {KeyEvent(187, 0, 0), true},
        {KeyEvent(187, 0, 9), true}, // device 0 in the table takes any device
        {KeyEvent(187, KeyEvent::SHIFT), false},
        {KeyEvent(80, KeyEvent::SHIFT), true},
        {KeyEvent(80, 0), false},
        {KeyEvent(304, 0, 2), true},
        {KeyEvent(304, 0, 1), false},
        {KeyEvent(304, 0, 0), false},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(Display(test.event) + " device " + std::to_string(test.event.device));
        EXPECT_EQ(keys.processKeyEvent(test.event, nullptr, nullptr), test.taken);
    }
    // A handler that declines lets the search go on to the next option of the same key.
    keys.addKeyOption({String("measure"), TranslatedString::DirectString("Measure"), KeyEvent(80, KeyEvent::SHIFT), 0});
    keys.pan_taken = false;
    keys.taken.clear();
    EXPECT_TRUE(keys.processKeyEvent(KeyEvent(80, KeyEvent::SHIFT), nullptr, nullptr));
    EXPECT_EQ(keys.taken, (std::vector<std::string>{"pan", "measure"}));
}

using BasicKeyControllerFileTest = Testing::TempFolderTest;

TEST_F(BasicKeyControllerFileTest, KeysSurviveASaveAndGarbageKeepsTheDefaults) {
    std::string const file = SystemPath("data/QELTA/Unnamed/user_settings/Hotkeys/Survey Keys.ini");
    {
        SurveyKeys keys;
        EXPECT_EQ(Testing::SystemPath(keys.defaultINIFile().view()), file);
        EXPECT_FALSE(keys.loadKeyOptions()); // no file yet
        keys.setSaveOnChange(true);
        keys.setKeyOption(
            {String("zoom"), TranslatedString::DirectString("Zoom in"), KeyEvent(90, KeyEvent::CONTROL), 5});
    }
    // One line for each option under its id, in table order; the device of a changed key stays.
    EXPECT_EQ(Testing::ReadAll(file), "zoom=90\x1D"
                                      "2\x1D"
                                      "0\npan=80\x1D"
                                      "1\x1D"
                                      "0\nselect=304\x1D"
                                      "0\x1D"
                                      "0\n");
    {
        SurveyKeys keys;
        EXPECT_TRUE(keys.loadKeyOptions());
        ASSERT_EQ(keys.currentKeyMaps().size(), 3u);
        EXPECT_EQ(keys.currentKeyMaps()[0].key_event, KeyEvent(90, KeyEvent::CONTROL));
        EXPECT_EQ(keys.currentKeyMaps()[2].device, 2);
    }
    Testing::WriteAll(file, "zoom=rubbish\npan=\n\x1D\x1D=\nselect\n=305\x1D"
                            "0\x1D"
                            "0\nunknown=1\x1D"
                            "1\x1D"
                            "1\n");
    SurveyKeys keys;
    EXPECT_TRUE(keys.loadKeyOptions());
    EXPECT_EQ(keys.currentKeyMaps()[0].key_event, KeyEvent(187, 0));
    EXPECT_EQ(keys.currentKeyMaps()[1].key_event, KeyEvent(80, KeyEvent::SHIFT));
    EXPECT_EQ(keys.currentKeyMaps()[2].key_event, KeyEvent(304, 0));
}

} // namespace
} // namespace QELTA
