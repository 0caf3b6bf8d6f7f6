// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>

#include "tests/support/CentralArchiveServer.h"

namespace tolvane {

namespace {

// That the server which the other tests believe refuses what is not right.

constexpr const char* kBoundary = "----TolvaneBoundary-01234567-89AB-4DEF-8123-456789ABCDEF";

LoopbackRequest request(const std::string& page, LoopbackHeaders headers, std::string body) {
  LoopbackRequest request{"/central_archive/archive-api/" + page, std::move(headers), 1, "POST"};
  request.headers.insert(request.headers.begin(), {"Host", "archive.example"});
  request.headers.emplace_back("Content-Length", std::to_string(body.size()));
  request.head = "POST " + request.target + " HTTP/1.1\r\n";
  for (const auto& [name, value] : request.headers) request.head += name + ": " + value + "\r\n";
  request.head += "\r\n";
  request.body = std::move(body);
  return request;
}

LoopbackRequest check(std::string body) {
  return request("check_repo.php", {{"Content-Type", "application/json"}, {"X-Archive-Secret", ""}},
                 std::move(body));
}

LoopbackRequest tokenRequest(std::string body) {
  return request("request_upload_token.php", {{"Content-Type", "application/json"}},
                 std::move(body));
}

std::string form() {
  std::string form;
  for (const char* name : {"repository_url", "repository_type", "identifier", "version", "name",
                           "filename", "size", "original_url"}) {
    form += std::string("--") + kBoundary + "\r\nContent-Disposition: form-data; name=\"" + name +
            "\"\r\n\r\nvalue\r\n";
  }
  return form + "--" + kBoundary +
         "\r\nContent-Disposition: form-data; name=\"package_file\"; filename=\"f\"\r\n"
         "Content-Type: application/octet-stream\r\n\r\nbytes\r\n--" +
         kBoundary + "--\r\n";
}

LoopbackRequest upload(std::string body, const std::string& boundary = kBoundary) {
  return request(
      "upload_package.php",
      {{"X-Upload-Token", "t"}, {"Content-Type", "multipart/form-data; boundary=" + boundary}},
      std::move(body));
}

std::string faultOf(const LoopbackRequest& request) {
  return readArchiveRequest(request).fault;
}

// The text with the first `from` in it made `to`.
std::string with(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

const std::string kCheck =
    R"({"repository_url":"u","repository_type":"APT","packages":[{"identifier":"i","version":"v",)"
    R"("name":"n","filename":"f","size":"1","original_url":"o"}]})";
const std::string kTokenRequest =
    R"({"repository_url":"u","repository_type":"APT","package_count":1})";

TEST(CentralArchiveServer, TakesWhatIsRight) {
  EXPECT_EQ(faultOf(check(kCheck)), "");
  EXPECT_EQ(faultOf(tokenRequest(kTokenRequest)), "");
  const ArchiveRequest read = readArchiveRequest(upload(form()));
  EXPECT_EQ(read.fault, "");
  EXPECT_EQ(read.fields.size(), 8u);
  EXPECT_EQ(read.fields.at(7), (std::pair<std::string, std::string>("original_url", "value")));
  EXPECT_EQ(read.filename, "f");
  EXPECT_EQ(read.file, "bytes");
}

TEST(CentralArchiveServer, RefusesOtherMembersAndOtherTypes) {
  EXPECT_NE(faultOf(check(with(kCheck, R"("APT")", "1"))), "");
  EXPECT_NE(faultOf(check(with(kCheck, R"("1")", "1"))), "");
  EXPECT_NE(faultOf(check(with(kCheck, R"("size":"1",)", ""))), "");
  EXPECT_NE(faultOf(check(with(kCheck, R"("packages")", R"("more":1,"packages")"))), "");
  EXPECT_NE(faultOf(check(with(kCheck, R"("u")", R"("u","repository_url":"u")"))), "");
  EXPECT_NE(faultOf(check(with(kCheck, ":", ": "))), "");
  EXPECT_NE(faultOf(check(kCheck + " ")), "");
  EXPECT_NE(faultOf(tokenRequest(with(kTokenRequest, ":1", R"(:"1")"))), "");
  EXPECT_NE(faultOf(tokenRequest(with(kTokenRequest, ":1", ":1.5"))), "");
  EXPECT_NE(faultOf(tokenRequest("[]")), "");
}

TEST(CentralArchiveServer, RefusesOtherHeads) {
  const auto withHead = [](LoopbackRequest request, const std::string& from,
                           const std::string& to) {
    request.head = with(request.head, from, to);
    return request;
  };
  EXPECT_NE(faultOf(withHead(check(kCheck), "POST", "GET")), "");
  EXPECT_NE(faultOf(withHead(check(kCheck), "X-Archive-Secret: \r\n", "")), "");
  EXPECT_NE(faultOf(withHead(check(kCheck), "Host", "Expect: 100-continue\r\nHost")), "");
  EXPECT_NE(faultOf(withHead(tokenRequest(kTokenRequest), "Host", "X-Archive-Secret: s\r\nHost")),
            "");
  EXPECT_NE(faultOf(withHead(upload(form()), "Content-T", "X-Archive-Secret: s\r\nContent-T")), "");
  EXPECT_NE(faultOf(withHead(upload(form()), "X-Upload-Token: t\r\n", "")), "");
  EXPECT_NE(faultOf(request("another.php", {}, "")), "");
}

TEST(CentralArchiveServer, RefusesAFormWithOneByteChanged) {
  const std::string right = form();
  std::size_t refused = 0;
  for (std::size_t i = 0; i < right.size(); ++i) {
    std::string wrong = right;
    wrong[i] ^= 1;
    refused += faultOf(upload(wrong)).empty() ? 0 : 1;
  }
  // All but the bytes of eight values, of the file's name and of the file.
  EXPECT_EQ(refused, right.size() - 8 * 5 - 1 - 5);
  EXPECT_NE(faultOf(upload(right + "\r\n")), "");
  EXPECT_NE(faultOf(upload(right.substr(0, right.size() - 2))), "");
}

TEST(CentralArchiveServer, RefusesABoundaryOfAnotherForm) {
  for (const char* boundary : {"----TolvaneBoundary-01234567-89ab-4DEF-8123-456789ABCDEF",
                               "----TolvaneBoundary-0123456789AB4DEF8123456789ABCDEF", "x"}) {
    std::string body = form();
    for (std::size_t at = 0; (at = body.find(kBoundary, at)) != std::string::npos;) {
      body.replace(at, std::string(kBoundary).size(), boundary);
    }
    EXPECT_NE(faultOf(upload(body, boundary)), "") << boundary;
  }
}

}  // namespace

}  // namespace tolvane
