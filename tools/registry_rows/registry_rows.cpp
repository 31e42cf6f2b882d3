// Writes the registry rows of the installer package: the keys that the control's own registration
// writes, from the same scripts, with the module's path and folder given as the installer's
// formatted texts (for example [#RigelDetection.dll] and [INSTALLFOLDER]). Built for and run on
// the build machine, by the Windows build.
//
//     registry_rows MODULE FOLDER OUTPUT
//
// One row per line: key, tab, value name ("" for the default value, "*" for a key removed with
// its subtree), tab, value. Exit code 1 when a row cannot be written that way, 2 for bad usage.

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "control/logic/installer_rows.h"
#include "control/logic/server_registration.h"

namespace {

// The rows are ASCII; anything else (or a tab or line break) would break the line format.
bool IsPrintable(const std::wstring& text) {
    for (const wchar_t c : text) {
        if (c < 0x20 || c > 0x7E) return false;
    }
    return true;
}

std::wstring Widen(const char* text) {
    std::wstring wide;
    for (; *text != '\0'; ++text) wide += static_cast<wchar_t>(static_cast<unsigned char>(*text));
    return wide;
}

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: registry_rows MODULE FOLDER OUTPUT\n";
        return 2;
    }
    const rigel::RegistrationScript::Replacements replacements =
        rigel::ServerRegistration::Replacements(Widen(argv[1]), Widen(argv[2]));
    std::vector<rigel::InstallerRows::Row> rows;
    for (const rigel::RegistrationScript* script : rigel::ServerRegistration::Scripts()) {
        if (!rigel::InstallerRows::Append(*script, replacements, rows)) {
            std::cerr << "registry_rows: a script holds a placeholder without a replacement\n";
            return 1;
        }
    }
    std::string text;
    for (const rigel::InstallerRows::Row& row : rows) {
        if (!IsPrintable(row.key) || !IsPrintable(row.name) || !IsPrintable(row.value)) {
            std::cerr << "registry_rows: a row is not printable ASCII: " << Narrow(row.key) << "\n";
            return 1;
        }
        text += Narrow(row.key) + '\t' + Narrow(row.name) + '\t' + Narrow(row.value) + '\n';
    }
    std::ofstream output(argv[3], std::ios::binary | std::ios::trunc);
    output << text;
    output.close();
    if (!output) {
        std::cerr << "registry_rows: cannot write " << argv[3] << "\n";
        return 1;
    }
    return 0;
}
