#include <client/data_folder.h>

#include <networkfile/network_file.h>
#include <stringutils/astring.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace kelda {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostListed = 20;

struct Refusal {
    DataFolder::Failure code;
    std::string text;
};

std::string Utf8(const AString& text) {
    return std::string(text.ToNarrow(kEncodingUtf8));
}
std::string Utf8(BSTR text) {
    return Utf8(AString(text ? text : u"", SysStringLen(text)));
}
AString Wide(const std::string& utf8) {
    AString text;
    text.Assign(kEncodingUtf8, utf8.data(), static_cast<int>(utf8.size()));
    return text;
}

struct DataFile {
    std::string name;
    std::string design; // without the extension
    int order;          // of two files with one design the lower one is taken
};

std::optional<DataFile> DataFileOf(const fs::path& path) {
    const std::string name = path.filename().string();
    const auto form = networkfile::FormOfName(name);
    if (!form)
        return std::nullopt;
    const int order = *form == networkfile::Form::kText ? 0 : *form == networkfile::Form::kBinary ? 1 : 2;
    return DataFile{name, path.stem().string(), order};
}

// In the order of their names.
std::vector<DataFile> ListFiles(const std::string& folder) {
    std::vector<DataFile> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (auto file = DataFileOf(entry->path()))
            files.push_back(std::move(*file));
    if (error)
        throw std::runtime_error(folder + ": " + error.message());
    std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return files;
}

std::string Listed(const std::vector<DataFile>& files) {
    std::string text;
    for (std::size_t i = 0; i < std::min(files.size(), kMostListed); ++i)
        text += (i > 0 ? ", " : "") + files[i].name;
    if (files.size() > kMostListed)
        text += " and " + std::to_string(files.size() - kMostListed) + " more";
    return text;
}

bool LeadsOut(const std::string& design) {
    return design.empty() || design.find("..") != design.npos ||
           std::any_of(design.begin(), design.end(),
                       [](char c) { return c == '/' || c == '\\' || c == '\0'; });
}

// The files of one design as the folder's user would name them: those of the first form that there is.
std::vector<DataFile> Matching(const std::vector<DataFile>& files, const auto& isName) {
    std::vector<DataFile> found;
    for (const DataFile& file : files)
        if (isName(file.name))
            found.push_back(file);
    if (!found.empty())
        return found;
    for (const DataFile& file : files)
        if (isName(file.design))
            found.push_back(file);
    const auto first = std::min_element(found.begin(), found.end(),
                                        [](const auto& a, const auto& b) { return a.order < b.order; });
    const int order = first == found.end() ? 0 : first->order;
    std::erase_if(found, [order](const DataFile& file) { return file.order != order; });
    return found;
}

std::string FindFile(const std::string& folder, const std::string& design) {
    if (LeadsOut(design))
        throw Refusal{DataFolder::kBadName,
                      "the name of a design is empty or has a path separator or \"..\" in it"};
    const std::vector<DataFile> files = ListFiles(folder);
    std::vector<DataFile> found = Matching(files, [&](const std::string& name) { return name == design; });
    if (found.empty()) {
        const AString wanted = Wide(design);
        found =
            Matching(files, [&](const std::string& name) { return Wide(name).CompareNoCase(wanted) == 0; });
    }
    if (found.empty())
        throw Refusal{DataFolder::kNoDesign,
                      "there is no such file in " + folder +
                          (files.empty() ? ", and no other network data" : ", but " + Listed(files))};
    if (found.size() > 1)
        throw Refusal{DataFolder::kNoDesign, folder + " has several files of that name: " + Listed(found)};
    const fs::path path = fs::path(folder) / found.front().name;
    std::error_code error;
    if (!fs::is_regular_file(path, error))
        throw Refusal{DataFolder::kBadFile,
                      path.string() + ": " + (error ? error.message() : "it isn't a regular file")};
    return path.string();
}

} // namespace

DataFolder::DataFolder(std::string folder, std::function<void(const std::string&)> show)
    : m_Folder(std::move(folder)), m_Show(std::move(show)) {
    ListFiles(m_Folder);
}

HRESULT DataFolder::GetFieldSolverData(BSTR designName, BSTR compInstID, BSTR, BSTR, BSTR, BSTR,
                                       BSTR* netwData, std::int32_t* msg) {
    if (!netwData || !msg)
        return E_POINTER;
    const auto refuse = [&](Failure code, const std::string& text) {
        *msg = code;
        if (m_Show)
            m_Show("No network data for " + Utf8(compInstID) + " (design " + Utf8(designName) + "): " + text +
                   ".");
        return S_OK;
    };
    try {
        platform::UniqueBstr reply(networkfile::ReadForEngine(FindFile(m_Folder, Utf8(designName))));
        if (!reply.Get())
            return refuse(kBadFile, "the network is longer than a text can be");
        SysFreeString(*netwData);
        *netwData = reply.Release();
        *msg = 0;
        return S_OK;
    } catch (const Refusal& refusal) {
        return refuse(refusal.code, refusal.text);
    } catch (const std::exception& error) {
        return refuse(kBadFile, error.what());
    }
}

} // namespace kelda
