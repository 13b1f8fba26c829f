#include "Applications/ModelEditor/Recovery/FileJournal.h"

#include "Applications/ModelEditor/Document/StateFolder.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Recovery/EditCodecs.h"

#include <boost/crc.hpp>

#include <cstdint>
#include <sstream>

namespace ModelEditor
{

namespace
{

// The 64 bits of ECMA-182.
std::string sumOf(const std::string& bytes)
{
    boost::crc_optimal<64, 0x42F0E1EBA9EA3693, ~std::uint64_t{0}, ~std::uint64_t{0}, true, true> crc;
    crc.process_bytes(bytes.data(), bytes.size());
    std::ostringstream text;
    text << std::hex << crc.checksum();
    return text.str();
}

std::string digestOf(const std::string& bytes)
{
    return std::to_string(bytes.size()) + " bytes, " + sumOf(bytes);
}

std::string wholePath(const std::string& path)
{
    return std::filesystem::weakly_canonical(path).string();
}

// A model that was saved elsewhere has the journal of the file that it was loaded from.
std::filesystem::path journalOf(const std::filesystem::path& folder, const std::string& document)
{
    std::filesystem::create_directories(folder);
    for (const Valdane::JournalRemains& remains : Valdane::Journal::find(folder))
    {
        if (remains.document == document)
        {
            return remains.file;
        }
    }
    const auto plain = std::filesystem::path(document).filename().string() + "-" + sumOf(document);
    auto free = folder / (plain + ".journal");
    for (int number = 2; std::filesystem::exists(free); ++number)
    {
        free = folder / (plain + "-" + std::to_string(number) + ".journal");
    }
    return free;
}

} // namespace

std::filesystem::path FileJournal::findFolder()
{
    const auto folder = findStateFolder();
    return folder.empty() ? std::filesystem::path() : std::filesystem::path(folder) / "journals";
}

FileJournal::FileJournal(const std::filesystem::path& folder, const std::string& path,
                         Valdane::Journal::Durability durability)
    : name(wholePath(path)), journal(codecs, journalOf(folder, name), {.durability = durability})
{
    addEditCodecs(codecs, [this]() -> XmlModel& { return *followed; });
}

FileJournal::~FileJournal() = default;

const std::optional<Valdane::JournalRemains>& FileJournal::getRemains() const
{
    return journal.getRemains();
}

bool FileJournal::hasUnsaved() const
{
    const auto& remains = getRemains();
    return remains && !remains->isClosed && remains->unsavedSteps != 0;
}

bool FileJournal::fits(const std::string& bytes) const
{
    const auto digest = digestOf(bytes);
    const auto& remains = getRemains();
    return digest == remains->savedDigest || digest == remains->savingDigest;
}

std::unique_ptr<XmlModel> FileJournal::loadBase()
{
    return std::make_unique<XmlModel>(journal.readBase(), name);
}

std::string FileJournal::recover(XmlModel& model, Valdane::CommandManager& manager)
{
    followed = &model;
    return journal.recover(manager, digestOf(model.toBytes())).failure;
}

void FileJournal::start(XmlModel& model, Valdane::CommandManager& manager)
{
    followed = &model;
    std::string bytes = model.toBytes();
    const auto digest = digestOf(bytes);
    journal.start(manager, {.document = name, .digest = digest, .base = std::move(bytes)});
}

void FileJournal::willSave(const std::string& bytes)
{
    journal.willSave(digestOf(bytes));
}

void FileJournal::didSave(const std::string& path)
{
    journal.didSave();
    if (const auto saved = wholePath(path); saved != name)
    {
        name = saved;
        journal.setDocument(name);
    }
}

void FileJournal::writeSoon()
{
    journal.writeSoon();
}

void FileJournal::close()
{
    journal.close();
}

void FileJournal::closeAndKeep()
{
    journal.closeAndKeep();
}

Valdane::Signals::Connection
FileJournal::connectToSigEnded(const Valdane::Signals::Slot<void(const std::string&)>& slot)
{
    return journal.connectToSigEnded(slot);
}

} // namespace ModelEditor
