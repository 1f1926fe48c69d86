// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/message_model.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "platform/transport/operation_limits.h"

namespace Lumenar::Fuzz {
namespace {

constexpr std::size_t kHeader = 12, kPlain = 16384, kLongestHead = 8192, kMostParts = 16, kDrain = 4;
enum Kind { Request, Reply, Cancel, LocateRequest, LocateReply, Close, Error, Fragment };

struct Unlawful {};
struct Incomplete {};

void Must(bool holds) {
  if (!holds) throw Unlawful();
}

unsigned Byte(const std::string& bytes, std::size_t at) { return static_cast<unsigned char>(bytes.at(at)); }

/// A message, put together or not.
struct Message {
  std::string bytes;

  unsigned Minor() const { return Byte(bytes, 5); }
  bool IsLittle() const { return (Byte(bytes, 6) & 1) != 0; }
  bool HasMore() const { return (Byte(bytes, 6) & 2) != 0; }
  Kind What() const { return static_cast<Kind>(Byte(bytes, 7)); }
  bool IsRequest() const { return What() == Request || What() == LocateRequest; }
  bool IsAnswer() const { return What() == Reply || What() == LocateReply; }
  bool HasPlaceForId() const {
    return Minor() == 2 || What() == LocateRequest || What() == LocateReply || What() == Cancel;
  }

  std::uint32_t Number(std::size_t at) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value |= Byte(bytes, at + (IsLittle() ? i : 3 - i)) << (8 * i);
    return value;
  }
  std::uint64_t Size() const { return kHeader + std::uint64_t{Number(8)}; }

  /// Says its true size, and that nothing follows.
  std::string Closed() const {
    std::string closed = bytes;
    const std::size_t body = bytes.size() - kHeader;
    for (std::size_t i = 0; i < 4; ++i)
      closed[8 + (IsLittle() ? i : 3 - i)] = static_cast<char>(body >> (8 * i) & 0xff);
    closed[6] = static_cast<char>(Byte(bytes, 6) & ~2u);
    return closed;
  }
};

/// Walks through what stands before arguments or results. Unlawful past the end of a message, or of the longest head.
class Head {
 public:
  explicit Head(const Message& message) : message_(message), end_(std::min(message.bytes.size(), kLongestHead)) {
    if (message.What() == Request) ReadRequest();
    else ReadReply();
  }

  std::uint32_t id = 0, status = 0;
  std::string operation;
  std::size_t size = kHeader;

 private:
  void ReadRequest() {
    if (message_.Minor() < 2) Contexts();
    id = Number();
    Skip(message_.Minor() == 0 ? 1 : 4);
    if (message_.Minor() == 2) {
      Must(size + 2 <= end_ && Byte(message_.bytes, size) == 0 && Byte(message_.bytes, size + 1) == 0);
      Skip(2);
    }
    Octets();
    operation = Octets();
    if (!operation.empty()) operation.pop_back();
    if (message_.Minor() < 2) Octets();
    else Contexts();
  }

  void ReadReply() {
    if (message_.Minor() < 2) Contexts();
    id = Number();
    status = Number();
    if (message_.Minor() == 2) Contexts();
  }

  void Skip(std::size_t count) {
    Must(count <= end_ && size + count <= end_);
    size += count;
  }
  std::uint32_t Number() {
    while (size % 4 != 0) ++size;
    Skip(4);
    return message_.Number(size - 4);
  }
  std::string Octets() {
    const std::uint32_t count = Number();
    Skip(count);
    return message_.bytes.substr(size - count, count);
  }
  void Contexts() {
    for (std::uint32_t left = Number(); left > 0; --left) {
      Number();
      Octets();
    }
  }

  const Message& message_;
  const std::size_t end_;
};

struct Part {
  Message message;     // as far as it has come; with the head alone once it was refused
  std::uint64_t size;  // as far as it has come
  bool is_refused = false;
};

class Judge {
 public:
  explicit Judge(const MessageRules& rules) : rules_(rules) {}

  MessageVerdict Read(std::string stream) {
    try {
      while (!stream.empty() && !is_closed_) stream.erase(0, One(stream));
    } catch (const Unlawful&) {
      verdict_.is_unlawful = true;
    } catch (const Incomplete&) {
      verdict_.is_open = true;
    }
    return verdict_;
  }

 private:
  /// Deals with the message that a stream begins with; its size.
  std::size_t One(const std::string& stream) {
    if (stream.size() < kHeader) throw Incomplete();
    Message message{stream};
    CheckHeader(message);
    CheckTurn(message);
    const bool passes = message.What() != Fragment && message.What() != Cancel && !message.HasMore();
    if (stream.size() < message.Size()) {
      if (passes) verdict_.begun = stream;
      throw Incomplete();
    }
    message.bytes.resize(message.Size());
    if (message.What() == Cancel) DropCancelled(message.Number(12));
    else if (!passes) Collect(message);
    else Pass(message);
    return message.bytes.size();
  }

  static void CheckHeader(const Message& message) {
    const std::string& bytes = message.bytes;
    Must(bytes.compare(0, 4, "GIOP") == 0 && bytes[4] == 1 && message.Minor() <= 2);
    Must(Byte(bytes, 7) <= (message.Minor() == 0 ? 6 : 7));
    Must(Byte(bytes, 6) <= (message.Minor() == 0 ? 1 : 3));
    const Kind kind = message.What();
    const bool may_have_more = kind == Request || kind == Reply || kind == Fragment ||
                               ((kind == LocateRequest || kind == LocateReply) && message.Minor() == 2);
    Must(may_have_more || !message.HasMore());
    if (kind == Close || kind == Error) Must(message.Number(8) == 0);
    else if (kind == Cancel) Must(message.Number(8) == 4);
    else if (message.HasPlaceForId()) Must(message.Number(8) >= 4);
  }

  void CheckTurn(const Message& message) const {
    const Kind kind = message.What();
    if (kind == Close || kind == Error) return;
    Must(kind == Fragment || (rules_.is_served ? message.IsRequest() || kind == Cancel : message.IsAnswer()));
    const int minor = static_cast<int>(message.Minor());
    Must(minor_ < 0 || minor_ == minor || (rules_.is_served && minor_ == 2 && parts_.empty()));
  }

  void CheckBeginning(const Message& message) const {
    Must(message.Minor() != 1 || parts_.empty());
    if (message.Minor() != 2) return;
    const std::uint32_t id = message.Number(12);
    for (const Part& part : parts_) Must(part.message.Number(12) != id);
    if (!rules_.is_served) Must(rules_.expected.count(id) == 1);
    CheckKey(message);
  }

  static void CheckKey(const Message& message) {
    if (message.Minor() != 2 || !message.IsRequest()) return;
    const std::size_t at = message.What() == Request ? 20 : 16;
    if (message.bytes.size() >= at + 2) Must(message.bytes[at] == 0 && message.bytes[at + 1] == 0);
  }

  /// Of a message of more than kPlain bytes: how large it may be.
  std::uint64_t LimitOf(const Message& message) const {
    Must(message.What() == Request || message.What() == Reply);
    const Head head(message);
    std::uint64_t limit = rules_.max_message_bytes;
    if (message.What() == Reply) {
      Must(rules_.expected.count(head.id) == 1);
      if (head.status != 0 || !rules_.expected.at(head.id)) limit = kPlain;
    } else {
      if (Corvanta::RequestLimit(head.operation) == Corvanta::MessageLimit::Plain) limit = kPlain;
    }
    return std::min(limit, rules_.max_message_bytes);
  }

  void Pass(const Message& message) {
    if (message.What() == Close || message.What() == Error) {
      is_closed_ = true;
      verdict_.given += message.bytes;
      return;
    }
    CheckBeginning(message);
    const bool is_refused = message.bytes.size() > kPlain && message.bytes.size() > LimitOf(message);
    verdict_.refused += is_refused;
    Give(message, is_refused);
    Must(message.bytes.size() <= kDrain * rules_.max_message_bytes);
  }

  void Give(Message message, bool is_refused) {
    minor_ = static_cast<int>(message.Minor());
    if (message.IsAnswer()) {
      const std::uint32_t id = message.HasPlaceForId() ? message.Number(12) : Head(message).id;
      Must(rules_.expected.erase(id) == 1);
      if (is_refused) message.bytes = Exception(message, id);
    } else if (is_refused) {
      message.bytes.resize(Head(message).size);
    }
    verdict_.given += message.Closed();
  }

  /// The answer MARSHAL in place of one that was refused.
  static std::string Exception(const Message& refused, std::uint32_t id) {
    Message answer{refused.bytes.substr(0, kHeader)};
    const auto add = [&](std::uint32_t value) {
      while (answer.bytes.size() % 4 != 0) answer.bytes.push_back('\0');
      for (int i = 0; i < 4; ++i)
        answer.bytes.push_back(static_cast<char>(value >> (refused.IsLittle() ? 8 * i : 24 - 8 * i) & 0xff));
    };
    const std::string name("IDL:omg.org/CORBA/MARSHAL:1.0", 30);
    if (refused.Minor() < 2) add(0);
    add(id);
    add(2);
    if (refused.Minor() == 2) add(0);
    add(30);
    answer.bytes += name;
    add(0);
    add(0);
    return answer.bytes;
  }

  void Collect(const Message& piece) {
    auto part = parts_.end();
    if (piece.What() != Fragment) {
      CheckBeginning(piece);
      Must(parts_.size() < kMostParts);
      Must(piece.bytes.size() <= kDrain * rules_.max_message_bytes);
      part = parts_.insert(parts_.end(), Part{piece, piece.bytes.size()});
      minor_ = static_cast<int>(piece.Minor());
    } else {
      part = std::find_if(parts_.begin(), parts_.end(), [&](const Part& each) {
        return piece.Minor() != 2 || each.message.Number(12) == piece.Number(12);
      });
      Must(part != parts_.end() && part->message.IsLittle() == piece.IsLittle());
      const std::string rest = piece.bytes.substr(piece.Minor() == 2 ? 16 : kHeader);
      part->size += rest.size();
      if (part->size > kDrain * rules_.max_message_bytes) End(*part);
      if (!part->is_refused) part->message.bytes += rest;
    }
    Bound(*part);
    if (piece.HasMore()) return Must(part->size % 8 == (piece.Minor() == 1 ? 4 : 0));
    const Part whole = *part;
    parts_.erase(part);
    CheckKey(whole.message);
    Give(whole.message, whole.is_refused);
  }

  /// More than may be read: its call is answered, if its head has come.
  void End(Part part) {
    if (!part.is_refused) {
      LimitOf(part.message);
      Refuse(part);
    }
    CheckKey(part.message);
    Give(part.message, true);
    throw Unlawful();
  }

  void Bound(Part& part) {
    if (!part.is_refused && part.size > kPlain && part.size > LimitOf(part.message)) Refuse(part);
  }

  void Refuse(Part& part) {
    part.is_refused = true;
    ++verdict_.refused;
    part.message.bytes.resize(Head(part.message).size);
  }

  void DropCancelled(std::uint32_t id) {
    for (auto part = parts_.begin(); part != parts_.end(); ++part) {
      if (IdOfPart(part->message) != id) continue;
      parts_.erase(part);
      return;
    }
  }

  /// None as long as it has not come.
  static std::optional<std::uint32_t> IdOfPart(const Message& message) {
    if (message.HasPlaceForId()) return message.Number(12);
    try {
      return Head(message).id;
    } catch (const Unlawful&) {
      return std::nullopt;
    }
  }

  MessageRules rules_;
  MessageVerdict verdict_;
  std::vector<Part> parts_;
  int minor_ = -1;
  bool is_closed_ = false;
};

}  // namespace

MessageVerdict JudgeMessages(const std::string& stream, const MessageRules& rules) { return Judge(rules).Read(stream); }

}  // namespace Lumenar::Fuzz
