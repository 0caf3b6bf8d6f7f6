// SPDX-License-Identifier: MIT
#include "model/PackageEntry.h"

#include "base/Text.h"

namespace tolvane {

namespace {

constexpr std::size_t indexOf(PackageEntry::Field field) {
  return static_cast<std::size_t>(field);
}

// A stanza of a distribution's index takes some 800 bytes. Too low a guess costs moves of the
// records, too high a one only address space.
constexpr std::size_t kGuessedBytesPerRecord = 512;

}  // namespace

// Called for each line of an index: the length leaves four keys at most to compare.
PackageEntry::Values::Value* PackageEntry::Values::valueForKey(std::string_view key) {
  switch (key.size()) {
    case 4:
      if (key == "Name") return &text(Field::displayName);
      if (key == "Size") return &text(Field::size);
      break;
    case 6:
      if (key == "SHA256") return &text(Field::sha256);
      if (key == "MD5sum") return &text(Field::md5sum);
      if (key == "Author") return &text(Field::author);
      break;
    case 7:
      if (key == "Package") return &text(Field::packageName);
      if (key == "Version") return &text(Field::version);
      if (key == "Depends") return &text(Field::depends);
      if (key == "Section") return &text(Field::section);
      break;
    case 8:
      if (key == "Filename") return &text(Field::filename);
      if (key == "Homepage") return &text(Field::homepage);
      break;
    case 9:
      if (key == "Depiction") return &text(Field::depiction);
      break;
    case 10:
      if (key == "Maintainer") return &text(Field::maintainer);
      break;
    case 11:
      if (key == "Description") return &text(Field::packageDescription);
      if (key == "DownloadURL") return &text(Field::downloadURL);
      break;
    case 12:
      if (key == "Architecture") return &text(Field::architecture);
      break;
    case 14:
      if (key == "PackageInfoURL") return &text(Field::packageInfoURL);
      break;
    case 17:
      if (key == "Installer4Package") return &installer4Package;
      if (key == "Installer3Package") return &installer3Package;
      break;
    default:
      break;
  }
  return nullptr;
}

PackageEntry::PackageEntry() {
  static const auto empty = std::make_shared<const Record>();
  record_ = empty;
}

PackageEntry::PackageEntry(const Dictionary& dictionary) {
  Values values;
  for (const auto& [key, value] : dictionary) {
    if (Values::Value* const found = values.valueForKey(key)) *found = value;
  }
  own(makeRecord(values));
}

void PackageEntry::setInstaller4Package(bool value) {
  Record changed = *record_;
  changed.installer4Package = value;
  own(changed);
}

void PackageEntry::setInstaller3Package(bool value) {
  Record changed = *record_;
  changed.installer3Package = value;
  own(changed);
}

void PackageEntry::setText(Field field, std::string_view value) {
  Record changed = *record_;
  changed.texts[indexOf(field)] = value;
  own(changed);
}

PackageEntry::Record PackageEntry::makeRecord(const Values& values) {
  const auto flag = [](const Values::Value& value) { return value && booleanValue(*value); };
  Record record;
  for (std::size_t i = 0; i < kTextCount; ++i) record.texts[i] = values.texts[i].value_or("");
  if (!values.text(Field::displayName)) {
    record.texts[indexOf(Field::displayName)] = record.texts[indexOf(Field::packageName)];
  }
  record.installer4Package = flag(values.installer4Package);
  record.installer3Package = flag(values.installer3Package);
  return record;
}

void PackageEntry::own(const Record& record) {
  struct OwnedRecord {
    std::string buffer;
    Record record;
  };
  const auto owned = std::make_shared<OwnedRecord>();
  owned->record = record;
  std::size_t total = 0;
  for (const std::string_view text : record.texts) total += text.size();
  owned->buffer.reserve(total);
  for (std::string_view& text : owned->record.texts) {
    const std::size_t begin = owned->buffer.size();
    owned->buffer += text;
    text = std::string_view(owned->buffer).substr(begin);
  }
  record_ = std::shared_ptr<const Record>(owned, &owned->record);
}

struct PackageEntry::Builder::Index {
  std::string text;
  std::vector<Record> records;
};

PackageEntry::Builder::Builder(std::string indexText) : index_(std::make_shared<Index>()) {
  index_->text = std::move(indexText);
  index_->records.reserve(index_->text.size() / kGuessedBytesPerRecord);
}

PackageEntry::Builder::~Builder() = default;

std::string& PackageEntry::Builder::text() {
  return index_->text;
}

void PackageEntry::Builder::add(const Values& values) {
  index_->records.push_back(makeRecord(values));
}

std::size_t PackageEntry::Builder::size() const {
  return index_->records.size();
}

std::vector<PackageEntry> PackageEntry::Builder::finish() {
  const std::shared_ptr<const Index> index = std::move(index_);
  std::vector<PackageEntry> entries;
  entries.reserve(index->records.size());
  for (const Record& record : index->records) {
    entries.push_back(PackageEntry(std::shared_ptr<const Record>(index, &record)));
  }
  return entries;
}

}  // namespace tolvane
