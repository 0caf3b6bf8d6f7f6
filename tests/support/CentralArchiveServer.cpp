// SPDX-License-Identifier: MIT
#include "tests/support/CentralArchiveServer.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace tolvane {

namespace {

using nlohmann::ordered_json;
using Type = ordered_json::value_t;

constexpr std::string_view kFolder = "/central_archive/archive-api/";
constexpr std::string_view kBoundaryBegin = "----TolvaneBoundary-";

// A text that is read from its beginning.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool take(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }

  // The bytes before `end`, which is taken too.
  std::optional<std::string> takeUntil(std::string_view end) {
    const std::size_t at = rest_.find(end);
    if (at == std::string_view::npos) return std::nullopt;
    std::string before(rest_.substr(0, at));
    rest_.remove_prefix(at + end.size());
    return before;
  }

  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

struct HeadLine {
  std::string name;
  std::string value;
};

// The fields of a head in their order; no value where a byte of it is not as it has to be.
std::optional<std::vector<HeadLine>> readHead(const LoopbackRequest& request) {
  Reader reader(request.head);
  if (!reader.take("POST " + request.target + " HTTP/1.1\r\n")) return std::nullopt;
  std::vector<HeadLine> lines;
  while (!reader.take("\r\n")) {
    std::optional<std::string> name = reader.takeUntil(":");
    std::optional<std::string> value = reader.takeUntil("\r\n");
    if (!name || !value || name->find_first_of(" \r\n") != std::string::npos) return std::nullopt;
    if (value->starts_with(' ')) value->erase(0, 1);
    lines.push_back({std::move(*name), std::move(*value)});
  }
  if (!reader.rest().empty()) return std::nullopt;
  return lines;
}

// `own` are the fields that the request has to have beside those that every one may have.
std::string faultInHead(const LoopbackRequest& request, const std::vector<std::string>& own) {
  const auto lines = readHead(request);
  if (!lines) return "a head that is no POST of HTTP/1.1";
  static const std::set<std::string> kUsual = {"Host", "User-Agent", "Accept", "Accept-Encoding",
                                               "Content-Length"};
  std::vector<std::string> found;
  std::set<std::string> seen;
  for (const auto& [name, value] : *lines) {
    if (!seen.insert(name).second) return "two fields " + name;
    if (!kUsual.contains(name)) found.push_back(name);
  }
  if (found != own) return "other fields than it should have, or in another order";
  if (request.header("Content-Length") != std::to_string(request.body.size())) {
    return "a body of another length than it says";
  }
  return "";
}

std::string faultInMembers(const ordered_json& object, const std::map<std::string, Type>& members) {
  if (!object.is_object()) return "no object";
  if (object.size() != members.size()) return "more or fewer members than it should have";
  for (const auto& [name, type] : members) {
    if (!object.contains(name)) return "no member " + name;
    if (object[name].type() != type) return "a member " + name + " of another type";
  }
  return "";
}

std::string readJSON(ArchiveRequest& request) {
  if (request.sent.header("Content-Type") != "application/json") return "another content type";
  request.json = ordered_json::parse(request.sent.body, nullptr, false);
  if (request.json.is_discarded()) return "a body that is no JSON";
  if (request.json.dump() != request.sent.body) return "JSON with blanks, or a member twice";
  return "";
}

std::string readCheck(ArchiveRequest& request) {
  auto head = faultInHead(request.sent, {"Content-Type", "X-Archive-Secret"});
  if (!head.empty()) return head;
  if (auto fault = readJSON(request); !fault.empty()) return fault;
  if (auto fault = faultInMembers(request.json, {{"repository_url", Type::string},
                                                 {"repository_type", Type::string},
                                                 {"packages", Type::array}});
      !fault.empty()) {
    return fault;
  }
  for (const ordered_json& package : request.json["packages"]) {
    const auto fault = faultInMembers(package, {{"identifier", Type::string},
                                                {"version", Type::string},
                                                {"name", Type::string},
                                                {"filename", Type::string},
                                                {"size", Type::string},
                                                {"original_url", Type::string}});
    if (!fault.empty()) return "a package with " + fault;
  }
  return "";
}

std::string readTokenRequest(ArchiveRequest& request) {
  if (auto fault = faultInHead(request.sent, {"Content-Type"}); !fault.empty()) return fault;
  if (auto fault = readJSON(request); !fault.empty()) return fault;
  return faultInMembers(request.json, {{"repository_url", Type::string},
                                       {"repository_type", Type::string},
                                       {"package_count", Type::number_unsigned}});
}

bool isUpperCaseHexadecimal(char c) {
  return std::string_view("0123456789ABCDEF").find(c) != std::string_view::npos;
}

bool isUUID(std::string_view text) {
  if (text.size() != 36) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isHyphen = i == 8 || i == 13 || i == 18 || i == 23;
    if (isHyphen ? text[i] != '-' : !isUpperCaseHexadecimal(text[i])) {
      return false;
    }
  }
  return true;
}

std::string readForm(ArchiveRequest& request) {
  const std::string delimiter = "--" + request.boundary;
  Reader reader(request.sent.body);
  if (!reader.take(delimiter + "\r\n")) return "a form that does not begin with its boundary";
  for (const char* name : {"repository_url", "repository_type", "identifier", "version", "name",
                           "filename", "size", "original_url"}) {
    if (!reader.take("Content-Disposition: form-data; name=\"" + std::string(name) +
                     "\"\r\n\r\n")) {
      return "no field " + std::string(name) + " in its place";
    }
    std::optional<std::string> value = reader.takeUntil("\r\n" + delimiter + "\r\n");
    if (!value) return "a field " + std::string(name) + " without end";
    request.fields.emplace_back(name, std::move(*value));
  }
  if (!reader.take("Content-Disposition: form-data; name=\"package_file\"; filename=\"")) {
    return "no file part in its place";
  }
  std::optional<std::string> filename =
      reader.takeUntil("\"\r\nContent-Type: application/octet-stream\r\n\r\n");
  if (!filename) return "a file part without its content type";
  request.filename = std::move(*filename);
  std::optional<std::string> file = reader.takeUntil("\r\n" + delimiter + "--\r\n");
  if (!file || !reader.rest().empty()) return "no closing line at the end";
  request.file = std::move(*file);
  return "";
}

std::string readUpload(ArchiveRequest& request) {
  // The library that reads the request drops empty fields.
  const bool hasToken = request.sent.head.find("\r\nX-Upload-Token:") != std::string::npos;
  auto fault =
      faultInHead(request.sent, {hasToken ? "X-Upload-Token" : "X-Archive-Secret", "Content-Type"});
  if (!fault.empty()) return fault;
  const std::string type = request.sent.header("Content-Type");
  Reader reader(type);
  if (!reader.take("multipart/form-data; boundary=")) return "another content type";
  request.boundary = reader.rest();
  if (!reader.take(kBoundaryBegin) || !isUUID(reader.rest())) return "another boundary";
  return readForm(request);
}

std::string pageOf(const LoopbackRequest& request) {
  return request.target.starts_with(kFolder) ? request.target.substr(kFolder.size()) : "";
}

LoopbackHandler refuse(const std::string& fault) {
  return respond(400, ordered_json{{"ok", false}, {"error", "The request has " + fault}}.dump());
}

}  // namespace

ArchiveRequest readArchiveRequest(LoopbackRequest request) {
  ArchiveRequest read{std::move(request), ""};
  const std::string page = pageOf(read.sent);
  if (page == "check_repo.php") {
    read.fault = readCheck(read);
  } else if (page == "request_upload_token.php") {
    read.fault = readTokenRequest(read);
  } else if (page == "upload_package.php") {
    read.fault = readUpload(read);
  } else {
    read.fault = "another address";
  }
  return read;
}

CentralArchiveServer::CentralArchiveServer() {
  server_.onAnyOther(refuse("another address"));
  answer("check_repo.php", respond(200, R"({"ok":true,"missing_packages":[]})"));
  answer("request_upload_token.php", respond(200, R"({"ok":true,"upload_token":"a-sesame"})"));
  answer("upload_package.php", respond(200, R"({"ok":true})"));
}

void CentralArchiveServer::answer(const std::string& page, LoopbackHandler handler) {
  server_.on(std::string(kFolder) + page,
             [handler = std::move(handler)](const LoopbackRequest& request,
                                            LoopbackConnection& connection) {
               const std::string fault = readArchiveRequest(request).fault;
               (fault.empty() ? handler : refuse(fault))(request, connection);
             });
}

std::vector<ArchiveRequest> CentralArchiveServer::requests() const {
  std::vector<ArchiveRequest> requests;
  for (LoopbackRequest& request : server_.requests()) {
    requests.push_back(readArchiveRequest(std::move(request)));
  }
  return requests;
}

}  // namespace tolvane
