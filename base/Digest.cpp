// SPDX-License-Identifier: MIT
#include "base/Digest.h"

#include <cerrno>
#include <future>
#include <memory>
#include <openssl/evp.h>
#include <string_view>

#include "base/FileDescriptor.h"

namespace tolvane {

namespace {

constexpr std::size_t kChunkSize = std::size_t{1} << 20;

// After a failure of OpenSSL, hexadecimal() returns no value.
class Hasher {
 public:
  explicit Hasher(const EVP_MD* algorithm) : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    ok_ = context_ != nullptr && EVP_DigestInit_ex(context_.get(), algorithm, nullptr) == 1;
  }

  void update(const void* bytes, std::size_t count) {
    ok_ = ok_ && EVP_DigestUpdate(context_.get(), bytes, count) == 1;
  }

  std::optional<std::string> hexadecimal() {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (!ok_ || EVP_DigestFinal_ex(context_.get(), digest, &length) != 1) return std::nullopt;
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
      text += kDigits[digest[i] >> 4];
      text += kDigits[digest[i] & 0xF];
    }
    return text;
  }

 private:
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context_;
  bool ok_ = false;
};

// Calls consume(bytes, count) with the whole file, a chunk at a time. False when it cannot be read.
template <typename Consumer>
bool readChunks(const std::string& path, Consumer consume) {
  if (path.find('\0') != std::string::npos) return false;
  const FileDescriptor file(path.c_str(), O_RDONLY);
  if (!file.isOpen()) return false;
  const auto chunk = std::make_unique_for_overwrite<char[]>(kChunkSize);
  for (;;) {
    const ssize_t count = ::read(file.get(), chunk.get(), kChunkSize);
    if (count == 0) return true;
    if (count > 0) {
      consume(chunk.get(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return false;
    }
  }
}

}  // namespace

std::optional<FileDigests> digestsOfFile(const std::string& path, DigestSelection selection) {
  std::optional<Hasher> md5;
  std::optional<Hasher> sha256;
  if (selection.md5) md5.emplace(EVP_md5());
  if (selection.sha256) sha256.emplace(EVP_sha256());
  const bool isRead = readChunks(path, [&](const char* bytes, std::size_t count) {
    const auto updateSHA256 = [&] {
      if (sha256) sha256->update(bytes, count);
    };
    // Both digests of a whole chunk are computed in parallel, where a thread can be had; else
    // wait() computes the second one.
    const bool inParallel = md5 && sha256 && count == kChunkSize;
    const auto other =
        std::async(inParallel ? std::launch::async | std::launch::deferred : std::launch::deferred,
                   updateSHA256);
    if (md5) md5->update(bytes, count);
    other.wait();
  });
  if (!isRead) return std::nullopt;
  const auto md5Text = md5 ? md5->hexadecimal() : std::string();
  const auto sha256Text = sha256 ? sha256->hexadecimal() : std::string();
  if (!md5Text || !sha256Text) return std::nullopt;
  return FileDigests{*md5Text, *sha256Text};
}

}  // namespace tolvane
