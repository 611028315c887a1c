// Settings in memory against a plain std::map, and loading against reading and cutting into lines.
#include <afx.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "bench/Measure.h"
#include "terrascope/support/ini/MemIniFile.h"
#include "terrascope/support/text/TextConvert.h"

namespace {

using namespace Terrascope;

constexpr int kRuns = 9;
constexpr int kLookups = 100000;

/// A file in the temporary folder, gone at the end.
class TempFile {
public:
    explicit TempFile(const std::string& text) {
        char folder[MAX_PATH] = "";
        ::GetTempPathA(MAX_PATH, folder);
        m_path = CString(folder) + CreateGuidString() + ".ini";
        std::ofstream(m_path.GetString(), std::ios::binary) << text;
    }
    ~TempFile() { ::DeleteFileA(m_path); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const CString& Path() const { return m_path; }

private:
    CString m_path;
};

void BenchLookups(int keys, bool caseSensitive) {
    std::string text = "[Section]\r\n";
    std::map<std::string, std::string> map;
    std::vector<CString> names;
    std::vector<std::string> plainNames;
    for (int i = 0; i < keys; ++i) {
        const std::string name = "Some.Setting." + std::to_string(i * 7919 % keys);
        text += name + "=value " + std::to_string(i) + "\r\n";
        map[name] = "value " + std::to_string(i);
        names.push_back(name.c_str());
        plainNames.push_back(name);
    }
    const TempFile file(text);
    CMemIniFile ini(file.Path(), caseSensitive);
    const CString section = "Section";
    const CString none;
    const auto ours = [&] {
        for (int i = 0; i < kLookups; ++i) {
            Bench::Use(ini.ReadString(section, names[static_cast<std::size_t>(i % keys)], none));
        }
    };
    const auto raw = [&] {
        for (int i = 0; i < kLookups; ++i) {
            const std::string value =
                map.find(plainNames[static_cast<std::size_t>(i % keys)])->second;
            Bench::Use(value);
        }
    };
    const std::string row = "lookup of " + std::to_string(keys) + " keys, " +
                            (caseSensitive ? "exact" : "ignoring case");
    Bench::Compare(row.c_str(), 3.0, kRuns, kLookups, ours, raw);
}

void BenchLoad() {
    std::string text;
    for (int i = 0; text.size() < 1 << 20; ++i) {
        if (i % 50 == 0) {
            text += "[Section " + std::to_string(i / 50) + "]\r\n";
        }
        text += "Some.Setting." + std::to_string(i) + "=value " + std::to_string(i) + "\r\n";
    }
    const TempFile file(text);
    const auto ours = [&] { Bench::Use(CMemIniFile(file.Path(), true)); };
    const auto raw = [&] {
        std::ifstream stream(file.Path().GetString());
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        Bench::Use(lines);
    };
    Bench::Compare("load of 1 MB", 5.0, kRuns, 1, ours, raw);
}

}  // namespace

int main() {
    Terrascope::Bench::PrintHeader();
    for (const int keys : {100, 10000}) {
        BenchLookups(keys, true);
        BenchLookups(keys, false);
    }
    BenchLoad();
    return 0;
}
