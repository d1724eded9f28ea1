#include "panel/server/connection.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/asio/write.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/rfc7230.hpp>
#include <iterator>
#include <utility>

#include "panel/server/page_files.h"

namespace orv::panel {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;

constexpr char kSafety[] =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; connect-src "
    "'self'; img-src 'self' data:; frame-ancestors 'none'; base-uri 'none'; form-action 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Opener-Policy: same-origin\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n";
constexpr char kNotKept[] = "Cache-Control: no-store\r\n";

const char* ReasonOf(int status) {
  constexpr std::pair<int, const char*> kReasons[] = {{200, "OK"},
                                                      {304, "Not Modified"},
                                                      {400, "Bad Request"},
                                                      {401, "Unauthorized"},
                                                      {403, "Forbidden"},
                                                      {404, "Not Found"},
                                                      {405, "Method Not Allowed"},
                                                      {408, "Request Timeout"},
                                                      {409, "Conflict"},
                                                      {413, "Payload Too Large"},
                                                      {414, "URI Too Long"},
                                                      {415, "Unsupported Media Type"},
                                                      {431, "Request Header Fields Too Large"},
                                                      {500, "Internal Server Error"},
                                                      {503, "Service Unavailable"}};
  const auto found = std::ranges::find(kReasons, status, &std::pair<int, const char*>::first);
  return found != std::end(kReasons) ? found->second : "";
}

// The first lines of a reply, with the empty one. Without a size it ends with the connection.
std::string HeadText(const Answer& answer, std::optional<std::size_t> size, bool keep_alive) {
  const bool says_how_long = answer.headers.find("Cache-Control:") != std::string::npos;
  return fmt::format("HTTP/1.1 {} {}\r\nContent-Type: {}\r\n{}{}{}{}Connection: {}\r\n\r\n",
                     answer.status, ReasonOf(answer.status), answer.type,
                     size ? fmt::format("Content-Length: {}\r\n", *size) : "", answer.headers,
                     says_how_long ? "" : kNotKept, kSafety, keep_alive ? "keep-alive" : "close");
}

bool AcceptsGzip(boost::beast::string_view header) {
  for (const auto& [coding, parameters] : http::ext_list(header)) {
    if (!boost::beast::iequals(coding, "gzip")) continue;
    return std::ranges::none_of(parameters, [](const auto& one) {  // "q=0", "q=0.00"
      return one.first == "q" && one.second.find_first_not_of("0.") == one.second.npos;
    });
  }
  return false;
}

// The fault of a request that did not arrive whole; nullopt if it needs no answer.
std::optional<Refusal> RefusalOf(const boost::system::error_code& error) {
  if (error == http::error::header_limit || error == http::error::buffer_overflow)
    return Refusal{431, "the header lines are too long.", ""};
  if (error == http::error::body_limit) return Refusal{413, "the body is too long.", ""};
  if (error == http::error::end_of_stream || error == http::error::partial_message)
    return std::nullopt;
  if (error.category() == http::make_error_code(http::error::bad_method).category())
    return Refusal{400, "this is not a request that can be read.", ""};
  return std::nullopt;
}

}  // namespace

Connection::Connection(Tcp::socket socket, ConnectionOwner& owner)
    : socket_(std::move(socket)), owner_(owner), timer_(socket_.get_executor()) {}

Connection::~Connection() { owner_.Left(*this); }

void Connection::Start() { ReadFirst(); }

void Connection::Decline() { RefuseAndClose({503, "too many connections at a time.", "", 1}); }

void Connection::Close() {
  Error ignored;
  timer_.cancel();
  socket_.close(ignored);
  owner_.Left(*this);
}

void Connection::SetTimer(std::chrono::milliseconds limit, Waiting waiting) {
  // What was written in the meantime may still report itself after Close.
  if (!socket_.is_open()) return;
  waiting_ = waiting;
  timer_.expires_after(limit);
  timer_.async_wait([self = shared_from_this()](const Error& error) {
    // It may have been set anew after it had run out.
    if (!error && self->timer_.expiry() <= std::chrono::steady_clock::now()) self->OnTimer();
  });
}

void Connection::OnTimer() {
  if (is_stream_ && waiting_ == Waiting::Idle) return KeepAlive();
  if (waiting_ == Waiting::Nothing) return;
  if (waiting_ != Waiting::Request) return Close();
  expired_ = true;
  Error ignored;
  socket_.cancel(ignored);
}

// Waits for the first byte, which may take longer than the rest.
void Connection::ReadFirst() {
  parser_.emplace();
  parser_->header_limit(static_cast<std::uint32_t>(owner_.limits().header));
  parser_->body_limit(owner_.limits().body);
  if (buffer_.size() != 0) return ReadHead();
  constexpr std::size_t kFirstBytes = 4096;
  SetTimer(owner_.limits().idle, Waiting::Idle);
  socket_.async_read_some(buffer_.prepare(kFirstBytes),
                          [self = shared_from_this()](const Error& error, std::size_t size) {
                            if (error) return self->Close();
                            self->buffer_.commit(size);
                            self->ReadHead();
                          });
}

void Connection::ReadHead() {
  SetTimer(owner_.limits().request, Waiting::Request);
  http::async_read_header(socket_, buffer_, *parser_,
                          [self = shared_from_this()](const Error& error, std::size_t) {
                            if (error) return self->OnReadFault(error);
                            if (const auto refusal = self->RefuseHead())
                              return self->RefuseAndClose(*refusal);
                            self->ReadBody();
                          });
}

void Connection::ReadBody() {
  if (parser_->is_done()) return Dispatch();
  const auto read = [self = shared_from_this()](const Error& error, std::size_t) {
    if (error) return self->OnReadFault(error);
    http::async_read(self->socket_, self->buffer_, *self->parser_,
                     [self](const Error& fault, std::size_t) {
                       fault ? self->OnReadFault(fault) : self->Dispatch();
                     });
  };
  if (parser_->get()[http::field::expect].empty()) return read(Error(), 0);
  static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
  asio::async_write(socket_, asio::buffer(kContinue), read);
}

void Connection::OnReadFault(const Error& error) {
  if (expired_) return RefuseAndClose({408, "the request took too long to arrive.", ""});
  const std::optional<Refusal> refusal = RefusalOf(error);
  refusal ? RefuseAndClose(*refusal) : Close();
}

RequestHead Connection::Head() const {
  const auto& request = parser_->get();
  const auto view = [](const auto& text) { return std::string_view(text.data(), text.size()); };
  // More than one of a kind is none.
  const auto header = [&](const auto& name) {
    return request.count(name) == 1 ? view(request[name]) : std::string_view();
  };
  const bool several_origins = request.count(http::field::origin) > 1;
  RequestHead head{.method = view(request.method_string()),
                   .target = view(request.target()),
                   .host = header(http::field::host),
                   .origin = several_origins ? "several" : header(http::field::origin),
                   .cookie = header(http::field::cookie),
                   .authorization = header(http::field::authorization),
                   .content_type = header(http::field::content_type),
                   .marker = header("X-Orvctl"),
                   .client = header("X-Orvctl-Client"),
                   .gesture = header("X-Orvctl-Gesture")};
  SplitTarget(head);
  return head;
}

// What the head alone shows; a refused body is never read.
std::optional<Refusal> Connection::RefuseHead() const {
  const RequestHead head = Head();
  if (head.target.size() > owner_.limits().target)
    return Refusal{414, "the address is too long.", ""};
  if (auto refusal = RefuseAccess(head, owner_.rules())) return refusal;
  if (!IsApi(head.target)) {
    if (OnlyReads(head.method)) return std::nullopt;
    return Refusal{405, "expected the method GET.", "GET, HEAD"};
  }
  auto route = FindRoute(head.method, head.target);
  if (auto* const refusal = std::get_if<Refusal>(&route)) return *refusal;
  return OnlyReads(head.method) ? std::nullopt : RefuseChange(head, owner_.rules());
}

void Connection::Dispatch() {
  waiting_ = Waiting::Nothing;
  timer_.cancel();
  const std::string_view path = PathOf(Head().target);
  IsApi(Head().target) ? AnswerWork() : AnswerFile(path);
}

void Connection::AnswerFile(std::string_view path) {
  const std::span<const PageFile> files = PageFiles();
  const auto file = std::ranges::find(files, path, &PageFile::path);
  if (file == files.end()) return Reply(ToAnswer({404, "no such file.", ""}, false));
  const auto& known = parser_->get()[http::field::if_none_match];
  const bool zipped = AcceptsGzip(parser_->get()[http::field::accept_encoding]);
  Answer answer{.type = std::string(file->type),
                .body = std::string(zipped ? file->zipped : file->content),
                .headers = "Vary: Accept-Encoding\r\n"};
  if (zipped) answer.headers += "Content-Encoding: gzip\r\n";
  if (HasKeyInAddress(Head(), owner_.rules())) {
    answer.headers += fmt::format("Set-Cookie: {}={}; HttpOnly; SameSite=Strict; Path=/\r\n",
                                  owner_.rules().cookie, owner_.rules().key);
    return Reply(answer);
  }
  answer.headers += fmt::format("Cache-Control: no-cache\r\nETag: {}\r\n", file->tag);
  if (std::string_view(known.data(), known.size()) == file->tag) {
    answer.status = 304;
    answer.body.clear();
  }
  Reply(answer);
}

void Connection::AnswerWork() {
  Decoded decoded = Decode(Head(), parser_->get().body());
  if (const auto* const refusal = std::get_if<Refusal>(&decoded))
    return Reply(ToAnswer(*refusal, true));
  Work& work = std::get<Work>(decoded);
  if (work.kind == Work::Kind::About) return Reply(owner_.About());
  if (work.kind == Work::Kind::Events) return BeginEvents(work.endpoint);
  const bool taken =
      owner_.Ask(std::move(work), std::string(Head().client),
                 [self = shared_from_this()](const Answer& answer) { self->Reply(answer); });
  if (!taken) Reply(ToAnswer({503, "too many requests wait; try again later.", "", 1}, true));
}

void Connection::Reply(const Answer& answer) {
  if (!socket_.is_open()) return;
  const bool keep_alive = parser_->keep_alive() && !finishing_;
  reply_ = HeadText(answer, answer.body.size(), keep_alive);
  if (Head().method != "HEAD") reply_ += answer.body;
  SetTimer(owner_.limits().idle, Waiting::Writing);
  asio::async_write(socket_, asio::buffer(reply_),
                    [self = shared_from_this(), keep_alive](const Error& error, std::size_t) {
                      error ? self->Close() : self->OnWritten(keep_alive);
                    });
}

void Connection::RefuseAndClose(const Refusal& refusal) {
  // What was asked for is not known yet if the head is not complete.
  const bool is_api = !parser_ || !parser_->is_header_done() || IsApi(Head().target);
  const Answer answer = ToAnswer(refusal, is_api);
  reply_ = HeadText(answer, answer.body.size(), false) + answer.body;
  SetTimer(owner_.limits().idle, Waiting::Writing);
  asio::async_write(socket_, asio::buffer(reply_),
                    [self = shared_from_this()](const Error& error, std::size_t) {
                      error ? self->Close() : self->OnWritten(false);
                    });
}

void Connection::OnWritten(bool keep_alive) {
  if (keep_alive && !finishing_) return ReadFirst();
  constexpr std::chrono::seconds kLinger{2};
  Error ignored;
  socket_.shutdown(Tcp::socket::shutdown_send, ignored);
  SetTimer(kLinger, Waiting::Closing);
  Linger();
}

// A connection that is closed while bytes of it are unread loses its reply on the way.
void Connection::Linger() {
  socket_.async_read_some(asio::buffer(discarded_),
                          [self = shared_from_this()](const Error& error, std::size_t) {
                            error ? self->Close() : self->Linger();
                          });
}

void Connection::BeginEvents(const std::string& endpoint) {
  if (buffer_.size() != 0)
    return RefuseAndClose({400, "a stream of events is the last request of a connection.", ""});
  constexpr int kSystemBuffer = 64 << 10;  // what waits for a page waits here, where it is counted
  Error ignored;
  socket_.set_option(asio::socket_base::send_buffer_size(kSystemBuffer), ignored);
  is_stream_ = true;
  Answer answer;
  answer.type = "text/event-stream; charset=utf-8";
  Send(std::make_shared<const std::string>(HeadText(answer, std::nullopt, false)));
  WaitForEnd();
  owner_.Join(shared_from_this(), endpoint);
}

void Connection::Greet(const std::string& client, std::uint32_t sequence) {
  Send(EncodeEvent(
      "hello", {{"client", client}, {"seq", sequence}, {"read_only", owner_.rules().read_only}}));
}

void Connection::Send(const std::shared_ptr<const std::string>& event, bool is_levels) {
  if (!socket_.is_open() || finishing_ || (is_levels && !queue_.empty())) return;
  if (queued_ + event->size() > owner_.limits().events) return Close();
  queue_.push_back(event);
  queued_ += event->size();
  WriteNext();
}

void Connection::WriteNext() {
  if (writing_ || queue_.empty()) return;
  writing_ = true;
  SetTimer(owner_.limits().idle, Waiting::Writing);
  asio::async_write(socket_, asio::buffer(*queue_.front()),
                    [self = shared_from_this()](const Error& error, std::size_t) {
                      if (error) return self->Close();
                      self->writing_ = false;
                      self->queued_ -= self->queue_.front()->size();
                      self->queue_.pop_front();
                      if (!self->queue_.empty()) return self->WriteNext();
                      if (self->finishing_) return self->Close();
                      self->SetTimer(self->owner_.limits().keep_alive, Waiting::Idle);
                    });
}

void Connection::KeepAlive() {
  static const auto kComment = std::make_shared<const std::string>(": keep-alive\n\n");
  Send(kComment);
}

// A page sends nothing more; what arrives is its end.
void Connection::WaitForEnd() {
  socket_.async_read_some(
      asio::buffer(discarded_),
      [self = shared_from_this()](const Error&, std::size_t) { self->Close(); });
}

void Connection::Finish() {
  finishing_ = true;
  if (is_stream_ ? queue_.empty() : waiting_ == Waiting::Idle) Close();
}

}  // namespace orv::panel
