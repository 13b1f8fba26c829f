#pragma once

#include "Applications/ModelEditor/Terminal/OpenFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ModelEditor
{

/// The files that a session has open, of which one is current.
///
/// A file that was open keeps its number; another one never gets it. Two paths to one file, also those of two hard links,
/// are the same file.
///
/// Thread: the application's main thread only.
class OpenFiles
{
public:
    /// @pre there is one (not checked), as for all that concerns the current one.
    OpenFile& getCurrent() const;

    bool areSeveral() const noexcept;

    /// By their numbers.
    std::vector<OpenFile*> getAll() const;

    /// The number for the next file.
    std::uint64_t getNextNumber() const noexcept;

    /// Adds @p file and makes it current. @pre its editor is the active one (not checked).
    void add(std::unique_ptr<OpenFile> file);

    /// Makes @p file current and its editor the active one.
    void makeCurrent(const OpenFile& file);

    /// Closes the current one. The one that was current before it is current again.
    ///
    /// @throws VdException if there is no other one.
    void closeCurrent();

    /// The file that was loaded from @p path or saved there last; null if there is none.
    OpenFile* find(const std::string& path) const;

    /// The file that is saved at @p path though find() does not know it; null if there is none.
    OpenFile* findSavedAt(const std::string& path) const;

    /// The file of that number, of that path, or the only one with that name in its folder.
    ///
    /// @throws VdException if there is none, or several.
    OpenFile& require(const std::string& numberOrPath) const;

private:
    // The current one is the last, and before it is the one that was current before.
    std::vector<std::unique_ptr<OpenFile>> files;
    std::uint64_t lastNumber = 0;
};

} // namespace ModelEditor
