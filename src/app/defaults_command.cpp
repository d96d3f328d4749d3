#include "app/defaults_command.h"

#include <plist/plist.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <optional>
#include <string_view>

#include "base/names.h"
#include "platform/command_line.h"
#include "platform/linux_platform.h"
#include "platform/property_list_file.h"

namespace tasselby {

namespace {

constexpr const char* kProgram = "tasselby-defaults";
constexpr mode_t kFolderMode = 0700;

constexpr const char* kUsageText =
    "Usage: tasselby-defaults [--layout=macos|linux] [--home=DIR] COMMAND\n"
    "\n"
    "Reads and sets the cleaning preferences of the suite com.marrowgatestudios.Tasselby.\n"
    "\n"
    "Commands:\n"
    "  read [KEY]             show one key, or every key of the suite\n"
    "  write KEY true|false   set a key\n"
    "  delete KEY             remove a key (it then reads as false)\n"
    "\n"
    "KEY is one of removeAll, displayNotifications, secureDeleteData.\n"
    "\n"
    "Options:\n"
    "  --layout=macos|linux   where the preferences live: ~/Library/Preferences\n"
    "                         (macos, the default) or ~/.config/tasselby (linux;\n"
    "                         $XDG_CONFIG_HOME/tasselby when set and no --home)\n"
    "  --home=DIR             use the home folder DIR instead of $HOME\n"
    "  --help                 show this text\n"
    "  --version              show the version\n";

constexpr const char* kKeys[] = {kRemoveAll, kDisplayNotifications, kSecureDeleteData};

bool isKnownKey(const std::string& key) {
    for (const char* known : kKeys) {
        if (key == known) return true;
    }
    return false;
}

std::optional<bool> booleanValue(const std::string& text) {
    if (text == "true") return true;
    if (text == "false") return false;
    return std::nullopt;
}

// A value as the command shows it: booleans as 1 or 0, numbers as numbers,
// text quoted; other types by their kind only.
std::string describe(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0 ? "1" : "0";
        }
        case PLIST_UINT: {
            uint64_t value = 0;
            plist_get_uint_val(node, &value);
            // Negative integers come back as their 64-bit pattern.
            return std::to_string(static_cast<int64_t>(value));
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return std::to_string(value);
        }
        case PLIST_STRING: {
            char* value = nullptr;
            plist_get_string_val(node, &value);
            std::string text = "\"" + std::string(value != nullptr ? value : "") + "\"";
            std::free(value);
            return text;
        }
        case PLIST_DICT:
            return "(dictionary)";
        case PLIST_ARRAY:
            return "(array)";
        case PLIST_DATA:
            return "(data)";
        case PLIST_DATE:
            return "(date)";
        default:
            return "(value)";
    }
}

// Makes the preferences folder and any missing parent, private to the user.
std::optional<std::string> makeFolders(const std::string& folder) {
    for (std::size_t slash = folder.find('/', 1);; slash = folder.find('/', slash + 1)) {
        std::string part = slash == std::string::npos ? folder : folder.substr(0, slash);
        if (!part.empty() && ::mkdir(part.c_str(), kFolderMode) != 0 && errno != EEXIST) {
            return "cannot make " + part + ": " + std::strerror(errno);
        }
        if (slash == std::string::npos) return std::nullopt;
    }
}

class Session {
public:
    Session(std::string file, std::ostream& out, std::ostream& err) : file_(std::move(file)), out_(out), err_(err) {}

    int read(const std::optional<std::string>& key);
    int write(const std::string& key, bool value);
    int remove(const std::string& key);

private:
    // Loads the suite's file; a file that is there but unusable is reported
    // and answered with the status to exit with.
    std::optional<int> load(PropertyListFile& plist, bool& missing);
    int save(const PropertyListFile& plist);
    int fail(int status, const std::string& message) {
        err_ << kProgram << ": " << message << '\n';
        return status;
    }

    std::string file_;
    std::ostream& out_;
    std::ostream& err_;
};

std::optional<int> Session::load(PropertyListFile& plist, bool& missing) {
    PropertyListFile::LoadResult result = plist.load(file_);
    missing = result == PropertyListFile::LoadResult::Missing;
    // An unreadable file is never replaced: it may hold settings this
    // command cannot see, and writing over it would lose them.
    if (result == PropertyListFile::LoadResult::Unreadable || !plist.isDictionary()) {
        return fail(DefaultsCommand::kDataError, file_ + " is not a readable property list dictionary; left as it is");
    }
    return std::nullopt;
}

int Session::save(const PropertyListFile& plist) {
    std::size_t slash = file_.rfind('/');
    if (slash != std::string::npos && slash > 0) {
        if (auto failure = makeFolders(file_.substr(0, slash))) return fail(DefaultsCommand::kCannotWrite, *failure);
    }
    if (auto failure = plist.save(file_)) return fail(DefaultsCommand::kCannotWrite, *failure);
    return 0;
}

int Session::read(const std::optional<std::string>& key) {
    PropertyListFile plist;
    bool missing = false;
    if (auto status = load(plist, missing)) return *status;
    if (missing) return fail(DefaultsCommand::kNotFound, std::string("the domain ") + kSuiteName + " does not exist (" + file_ + ")");
    if (key) {
        plist_t value = plist_dict_get_item(plist.root(), key->c_str());
        if (value == nullptr) return fail(DefaultsCommand::kNotFound, "the key " + *key + " is not set in " + kSuiteName);
        out_ << describe(value) << '\n';
        return 0;
    }
    // Sorted by key, so that the listing does not depend on the file's order.
    std::map<std::string, std::string> lines;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(plist.root(), &iterator);
    for (;;) {
        char* name = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(plist.root(), iterator, &name, &value);
        if (name == nullptr) break;
        lines[name] = describe(value);
        std::free(name);
    }
    std::free(iterator);
    out_ << "{\n";
    for (const auto& [name, text] : lines) out_ << "    " << name << " = " << text << ";\n";
    out_ << "}\n";
    return 0;
}

int Session::write(const std::string& key, bool value) {
    PropertyListFile plist;
    bool missing = false;
    if (auto status = load(plist, missing)) return *status;
    plist_dict_set_item(plist.root(), key.c_str(), plist_new_bool(value ? 1 : 0));
    return save(plist);
}

int Session::remove(const std::string& key) {
    PropertyListFile plist;
    bool missing = false;
    if (auto status = load(plist, missing)) return *status;
    if (missing || plist_dict_get_item(plist.root(), key.c_str()) == nullptr) {
        return fail(DefaultsCommand::kNotFound, "the key " + key + " is not set in " + kSuiteName);
    }
    plist_dict_remove_item(plist.root(), key.c_str());
    return save(plist);
}

}  // namespace

int DefaultsCommand::run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    std::vector<const char*> argv;
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    CommandLine line = CommandLine::parse(static_cast<int>(argv.size()), argv.data());
    auto usage = [&](const std::string& message) {
        err << kProgram << ": " << message << "\n" << "Try \"" << kProgram << " --help\".\n";
        return kUsage;
    };

    // The shared parser reads --home and --layout; anything else that looks
    // like an option is refused here rather than ignored as the worker does.
    std::vector<std::string> words;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::string_view argument = arguments[i];
        if (argument == "--help" || argument == "--version") continue;
        if (argument.starts_with("--home=") || argument.starts_with("--layout=")) continue;
        if (argument.starts_with("-")) return usage("unknown option " + arguments[i]);
        words.push_back(arguments[i]);
    }
    if (line.help) {
        out << kUsageText;
        return 0;
    }
    if (line.version) {
        out << kProgram << " " << TASSELBY_VERSION << '\n';
        return 0;
    }
    if (line.error) return usage(*line.error);
    if (words.empty()) return usage("no command given");

    const std::string& command = words[0];
    const std::size_t expected = command == "read" ? (words.size() == 1 ? 1 : 2) : command == "write" ? 3 : 2;
    if (command != "read" && command != "write" && command != "delete") return usage("unknown command " + command);
    if (words.size() != expected) return usage("wrong number of arguments for " + command);
    std::optional<std::string> key;
    if (words.size() > 1) {
        key = words[1];
        if (!isKnownKey(*key)) {
            return usage("unknown key " + *key + " (known keys: removeAll, displayNotifications, secureDeleteData)");
        }
    }
    std::optional<bool> value;
    if (command == "write") {
        value = booleanValue(words[2]);
        if (!value) return usage("the value of " + *key + " must be true or false, not " + words[2]);
    }

    std::string home = LinuxPlatform::homeFolder(line);
    Session session(LinuxPlatform::preferencesFolder(line, home) + "/" + kSuiteName + ".plist", out, err);
    if (command == "read") return session.read(key);
    if (command == "write") return session.write(*key, *value);
    return session.remove(*key);
}

}  // namespace tasselby
