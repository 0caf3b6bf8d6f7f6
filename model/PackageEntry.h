// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tolvane {

// One package of a repository of any kind: seventeen string fields, never absent, and two flags. A
// value: copies are cheap, since they share one immutable record, and a write accessor gives its
// entry a record of its own. Written on one thread only; any number of threads may read afterwards.
class PackageEntry {
 public:
  using Dictionary = std::map<std::string, std::string, std::less<>>;

  // The string fields, in the order in which they are declared.
  enum class Field {
    packageName,
    displayName,
    version,
    architecture,
    filename,
    size,
    md5sum,
    sha256,
    packageDescription,
    section,
    depends,
    author,
    maintainer,
    homepage,
    depiction,
    packageInfoURL,
    downloadURL,
  };
  static constexpr std::size_t kTextCount = 17;

  // The fields of a package as its index has them; no value for one that the index lacks.
  struct Values {
    using Value = std::optional<std::string_view>;

    std::array<Value, kTextCount> texts;
    Value installer4Package;
    Value installer3Package;

    Value& text(Field field) { return texts[static_cast<std::size_t>(field)]; }
    const Value& text(Field field) const { return texts[static_cast<std::size_t>(field)]; }

    // The value that a dictionary key feeds ("MD5sum" feeds md5sum), null for a key that feeds
    // none. Keys are compared exactly.
    Value* valueForKey(std::string_view key);
  };

  // All strings "", both flags false.
  PackageEntry();

  // Values are taken unchanged, "" where a key is absent. displayName falls back to
  // packageName when "Name" is absent, not when it is empty. Flags follow booleanValue().
  explicit PackageEntry(const Dictionary& dictionary);

  bool installer4Package() const { return record_->installer4Package; }
  bool installer3Package() const { return record_->installer3Package; }

  // Identifier: Debian package name, or the Installer bundle identifier.
  std::string_view packageName() const { return text(Field::packageName); }
  // Name for people.
  std::string_view displayName() const { return text(Field::displayName); }
  std::string_view version() const { return text(Field::version); }
  // Debian architecture, "installer3" or "installer4".
  std::string_view architecture() const { return text(Field::architecture); }
  // APT: path relative to the repository root. Installer 3: URL of the package. Installer 4: URL
  // of the package-information property list.
  std::string_view filename() const { return text(Field::filename); }
  // In bytes, as the index gives it, unchecked; "" when unknown.
  std::string_view size() const { return text(Field::size); }
  std::string_view md5sum() const { return text(Field::md5sum); }  // hexadecimal, or ""
  std::string_view sha256() const { return text(Field::sha256); }  // hexadecimal, or ""
  std::string_view packageDescription() const { return text(Field::packageDescription); }
  std::string_view section() const { return text(Field::section); }
  std::string_view depends() const { return text(Field::depends); }  // not parsed
  std::string_view author() const { return text(Field::author); }
  std::string_view maintainer() const { return text(Field::maintainer); }
  std::string_view homepage() const { return text(Field::homepage); }
  // URL of a page about the package; Installer 4: of its icon.
  std::string_view depiction() const { return text(Field::depiction); }
  // Installer 4 only: the same as filename.
  std::string_view packageInfoURL() const { return text(Field::packageInfoURL); }
  // Installer 3 only: the same as filename.
  std::string_view downloadURL() const { return text(Field::downloadURL); }

  // Whether the two are copies of one entry, neither changed since.
  bool isSameRecordAs(const PackageEntry& other) const { return record_ == other.record_; }

  std::string_view text(Field field) const {
    return record_->texts[static_cast<std::size_t>(field)];
  }

  void setInstaller4Package(bool value);
  void setInstaller3Package(bool value);
  void setPackageName(std::string_view value) { setText(Field::packageName, value); }
  void setDisplayName(std::string_view value) { setText(Field::displayName, value); }
  void setVersion(std::string_view value) { setText(Field::version, value); }
  void setArchitecture(std::string_view value) { setText(Field::architecture, value); }
  void setFilename(std::string_view value) { setText(Field::filename, value); }
  void setSize(std::string_view value) { setText(Field::size, value); }
  void setMd5sum(std::string_view value) { setText(Field::md5sum, value); }
  void setSha256(std::string_view value) { setText(Field::sha256, value); }
  void setPackageDescription(std::string_view value) { setText(Field::packageDescription, value); }
  void setSection(std::string_view value) { setText(Field::section, value); }
  void setDepends(std::string_view value) { setText(Field::depends, value); }
  void setAuthor(std::string_view value) { setText(Field::author, value); }
  void setMaintainer(std::string_view value) { setText(Field::maintainer, value); }
  void setHomepage(std::string_view value) { setText(Field::homepage, value); }
  void setDepiction(std::string_view value) { setText(Field::depiction, value); }
  void setPackageInfoURL(std::string_view value) { setText(Field::packageInfoURL, value); }
  void setDownloadURL(std::string_view value) { setText(Field::downloadURL, value); }

  void setText(Field field, std::string_view value);

  // Builds the entries of one index. They all point into the index text, which they keep alive.
  class Builder {
   public:
    // The strings that add() is given must point into this text, or be literals.
    explicit Builder(std::string indexText);
    ~Builder();

    // The index text, which may be rewritten in place until finish().
    std::string& text();

    void add(const Values& values);
    std::size_t size() const;

    // The entries, in the order in which they were added. Ends the builder's use.
    std::vector<PackageEntry> finish();

   private:
    struct Index;
    std::shared_ptr<Index> index_;
  };

 private:
  struct Record {
    std::array<std::string_view, kTextCount> texts;
    bool installer4Package = false;
    bool installer3Package = false;
  };

  explicit PackageEntry(std::shared_ptr<const Record> record) : record_(std::move(record)) {}

  static Record makeRecord(const Values& values);

  // Gives this entry a copy of the record and of all its strings.
  void own(const Record& record);

  // Never null. Shares the ownership of the strings' memory: an index that many entries share, or
  // the copy of one record's strings.
  std::shared_ptr<const Record> record_;
};

}  // namespace tolvane
