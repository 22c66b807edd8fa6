// A solution interface that answers from a folder of files: the network data of components that have no other description.
//
//   auto data = platform::InterfacePtr<kelda::DataFolder>::Adopt(new kelda::DataFolder("measured", show));
//   engine->StartAnalysis(progress.Get(), data.Get(), file.Get(), project.Get(), &job);
//
// The design NAME is the file NAME.sol (a solution as block text), else NAME.solb (in the binary form), else NAME.sNp or NAME.ts
// (Touchstone); a name that is a whole file's name is that file. Where no file has the name exactly, one that differs only
// in the case of its letters will do if it is the only one. Files are read when they are asked for, and only ones that lie in
// the folder itself.
//
// What can't be answered is told to `show` in words, UTF-8, and gives one of the failure codes.
//
// Threads: the folder is asked on the library's thread that carries a job's callbacks, and `show` is called there. Several jobs
// may share one.
#pragma once

#include <client/kelda_client.h>

#include <functional>
#include <string>

namespace kelda {

class DataFolder : public SolutionInterface {
public:
    enum Failure : std::int32_t {
        kNoDesign = 101, // no file, or several of the same right
        kBadName = 102,  // a name that could lead out of the folder
        kBadFile = 103,  // a file that can't be read, or holds no network
    };

    // Throws std::runtime_error, with the folder's name and the reason, for a folder that can't be listed.
    explicit DataFolder(std::string folder, std::function<void(const std::string&)> show = {});

    HRESULT GetFieldSolverData(BSTR designName, BSTR compInstID, BSTR solnType, BSTR solnFlag,
                               BSTR paramValues, BSTR freqValues, BSTR* netwData, std::int32_t* msg) override;

private:
    const std::string m_Folder;
    const std::function<void(const std::string&)> m_Show;
};

} // namespace kelda
