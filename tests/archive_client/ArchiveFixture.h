// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "archive_client/CentralArchiveClient.h"
#include "tests/archive_client/CredentialWatch.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

template <typename Value>
struct ArchiveReply {
  Value value{};
  std::optional<Error> error;
  bool onCallersThread = false;
};

using CheckReply = ArchiveReply<MissingPackages>;
using TokenReply = ArchiveReply<std::optional<std::string>>;
using UploadReply = ArchiveReply<bool>;

// A client with a secret over a scripted session.
class ArchiveFixture : public testing::Test {
 protected:
  static constexpr const char* kSecret = "the-archive's-sesame";
  static constexpr const char* kToken = "the-sesame-for-uploads";
  static constexpr const char* kBase = "https://archive.example/api";
  static constexpr const char* kRepository = "https://repo.example/";

  ArchiveFixture() { package_.setPackageName("com.example.tool"); }

  // The completion's one call; a second one ends the process.
  template <typename Value, typename Start>
  ArchiveReply<Value> replyTo(const Start& start) {
    const auto promise = std::make_shared<std::promise<ArchiveReply<Value>>>();
    auto future = promise->get_future();
    const auto caller = std::this_thread::get_id();
    start([promise, caller](Value value, std::optional<Error> error) {
      promise->set_value(
          {std::move(value), std::move(error), std::this_thread::get_id() == caller});
    });
    // Ten million values take a minute under ThreadSanitizer.
    if (future.wait_for(std::chrono::seconds(240)) != std::future_status::ready) {
      ADD_FAILURE() << "the completion was not called";
      return {};
    }
    ArchiveReply<Value> reply = future.get();
    if (reply.error) CredentialWatch::show(describe(reply.error));
    return reply;
  }

  CheckReply check(const CentralArchiveClient& client,
                   const std::vector<PackageEntry>& packages = {},
                   std::optional<std::string_view> type = "APT") {
    return replyTo<MissingPackages>([&](auto completion) {
      client.checkRepositoryURL(kRepository, type, packages, completion);
    });
  }

  TokenReply requestToken(CentralArchiveClient& client, std::size_t count = 3,
                          std::optional<std::string_view> type = "APT") {
    return replyTo<std::optional<std::string>>([&](auto completion) {
      client.requestUploadTokenForRepositoryURL(kRepository, type, count, completion);
    });
  }

  UploadReply upload(const CentralArchiveClient& client, const std::string& path,
                     std::optional<std::string_view> type = "APT") {
    return replyTo<bool>([&](auto completion) {
      client.uploadPackage(package_, kRepository, type, path, completion);
    });
  }

  // A file that can be uploaded.
  std::string file(const std::string& bytes = "the bytes of a package") const {
    return folder_.write("tool_1.2.deb", bytes);
  }

  // Credentials that would end their header field, or the text that it is made of.
  static std::vector<std::string> unsendable() {
    return {"sesame\r\nX-B: 1", "sesame\n", "\rsesame", std::string("sesame\0b", 8)};
  }

  static Error archiveError(int code, std::string description) {
    return {"CentralArchiveClient", code, std::move(description)};
  }

  // As the script's sessions fail.
  static ScriptedAnswer timeout() { return failingAnswer(-1001, "The request timed out."); }

  ScriptedHTTPClient session_;
  LogRecorder log_;
  TemporaryFolder folder_;
  PackageEntry package_;
  CentralArchiveClient client_{kBase, kSecret, session_.factory()};
};

}  // namespace tolvane
