#include "platform/linux/X11SelectionReader.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <algorithm>
#include <cstdint>
#include <utility>

namespace pell {

namespace {

constexpr long fetchUnits = 256 * 1024;  // of four bytes, in one request

// Xlib widens 32-bit units to longs.
void append(std::string& bytes, const unsigned char* data, int format, unsigned long count) {
  if (format == 32) {
    const auto* units = reinterpret_cast<const unsigned long*>(data);
    for (unsigned long i = 0; i < count; ++i) {
      auto unit = static_cast<std::uint32_t>(units[i]);
      bytes.append(reinterpret_cast<const char*>(&unit), sizeof unit);
    }
  } else {
    bytes.append(reinterpret_cast<const char*>(data), count * static_cast<unsigned long>(format / 8));
  }
}

std::vector<unsigned long> atomsIn(const SelectionData& data) {
  std::vector<unsigned long> atoms;
  if (data.kind.format != 32) return atoms;
  for (std::size_t at = 0; at + sizeof(std::uint32_t) <= data.bytes.size(); at += sizeof(std::uint32_t)) {
    std::uint32_t unit = 0;
    std::copy_n(data.bytes.data() + at, sizeof unit, reinterpret_cast<char*>(&unit));
    atoms.push_back(unit);
  }
  return atoms;
}

}  // namespace

X11SelectionReader::X11SelectionReader(X11Loop& loop, X11Connection& connection, unsigned long window)
    : loop_(loop),
      connection_(connection),
      window_(window),
      targets_(connection.atom("TARGETS")),
      incr_(connection.atom("INCR")) {
  std::vector<std::string> names;
  for (int i = 0; i < 16; ++i) names.push_back("PELL_SELECTION_" + std::to_string(i));
  properties_ = connection.atoms(names);
}

void X11SelectionReader::onEvent(XEvent& event) {
  if (event.type == SelectionNotify) {
    notice_ = Notice{.selection = event.xselection.selection,
                     .target = event.xselection.target,
                     .property = event.xselection.property};
  } else if (event.type == PropertyNotify && event.xproperty.window == window_ &&
             event.xproperty.state == PropertyNewValue && event.xproperty.atom == awaitedProperty_) {
    propertyArrived_ = true;
  }
}

bool X11SelectionReader::convert(const Conversion& conversion, Instant deadline) {
  ask(conversion);
  return loop_.pump([&] { return isAnswered(conversion); }, deadline) && notice_->property != None;
}

void X11SelectionReader::ask(const Conversion& conversion) {
  notice_.reset();
  XConvertSelection(connection_.display(), conversion.selection, conversion.target, conversion.property,
                    window_, conversion.time);
}

// A refusal carries no property; a late answer to an earlier question carries another one.
bool X11SelectionReader::isAnswered(const Conversion& conversion) {
  if (notice_ && (notice_->selection != conversion.selection || notice_->target != conversion.target ||
                  (notice_->property != None && notice_->property != conversion.property))) {
    notice_.reset();
  }
  return notice_.has_value();
}

std::vector<SelectionData> X11SelectionReader::readAll(unsigned long selection) {
  begin();
  std::vector<SelectionData> formats;
  auto list = read(selection, targets_, "TARGETS");
  auto* offered = std::get_if<SelectionData>(&list);
  if (!offered) {
    if (std::get<Refusal>(list) == Refusal::silent) return formats;
    // An old owner that offers text and cannot tell so.
    auto text = read(selection, XA_STRING, "STRING");
    if (auto* data = std::get_if<SelectionData>(&text)) formats.push_back(std::move(*data));
    return formats;
  }
  auto names = targetsToRead(connection_.atomNames(atomsIn(*offered)));
  auto atoms = connection_.atoms(names);
  for (std::size_t i = 0; i < names.size(); ++i) {
    auto reading = read(selection, atoms[i], names[i]);
    if (auto* data = std::get_if<SelectionData>(&reading)) {
      formats.push_back(std::move(*data));
    } else if (std::get<Refusal>(reading) == Refusal::silent) {
      break;
    }
  }
  return formats;
}

std::optional<std::string> X11SelectionReader::readText(unsigned long selection) {
  begin();
  for (const char* name : {"UTF8_STRING", "text/plain;charset=utf-8", "STRING"}) {
    auto reading = read(selection, connection_.atom(name), name);
    if (auto* data = std::get_if<SelectionData>(&reading)) return textOf(*data);
    if (std::get<Refusal>(reading) == Refusal::silent) return std::nullopt;
  }
  return std::nullopt;
}

void X11SelectionReader::begin() {
  ownerChanged_ = false;
  deadline_ = X11Loop::now() + toNanoseconds(longestTransfer);
  bytesLeft_ = mostBytes;
}

bool X11SelectionReader::wait(const std::function<bool()>& done) {
  Instant patience = std::min(deadline_, X11Loop::now() + toNanoseconds(longestSilence));
  loop_.pump([&] { return done() || ownerChanged_; }, patience);
  return done();
}

X11SelectionReader::Reading X11SelectionReader::read(unsigned long selection, unsigned long target,
                                                     const std::string& name) {
  Atom property = properties_[turn_++ % properties_.size()];
  XDeleteProperty(connection_.display(), window_, property);
  Conversion conversion{.selection = selection, .target = target, .property = property, .time = CurrentTime};
  ask(conversion);
  if (!wait([&] { return isAnswered(conversion); })) return Refusal::silent;
  if (notice_->property == None) return Refusal::refused;

  SelectionData data{.target = name, .kind = {}, .bytes = {}};
  awaitedProperty_ = property;
  propertyArrived_ = false;
  auto type = fetch(property, data);
  if (!type) return Refusal::refused;
  if (*type == incr_) {
    data.bytes.clear();
    // Deleting the property, as `fetch` does, has asked for the first part.
    if (!readIncrements(property, data, *type)) return Refusal::silent;
  }
  if (data.bytes.size() > bytesLeft_) return Refusal::silent;
  bytesLeft_ -= data.bytes.size();
  data.kind.type = connection_.atomNames({*type}).front();
  return data;
}

bool X11SelectionReader::readIncrements(unsigned long property, SelectionData& data, unsigned long& type) {
  for (bool first = true; data.bytes.size() <= bytesLeft_; first = false) {
    if (!wait([&] { return propertyArrived_; })) return false;
    propertyArrived_ = false;
    std::size_t before = data.bytes.size();
    auto partType = fetch(property, data);
    if (!partType) continue;  // gone already: the notice was of an older value
    if (first) type = *partType;
    if (data.bytes.size() == before) return true;
  }
  return false;
}

// Takes the property's value and deletes it. Gives its type; absent where there is none.
std::optional<unsigned long> X11SelectionReader::fetch(unsigned long property, SelectionData& data) {
  Atom type = None;
  int format = 0;
  long offset = 0;
  for (;;) {
    unsigned long count = 0, left = 0;
    unsigned char* part = nullptr;
    if (XGetWindowProperty(connection_.display(), window_, property, offset, fetchUnits, True,
                           AnyPropertyType, &type, &format, &count, &left, &part) != Success) {
      return std::nullopt;
    }
    if (part && format != 0) append(data.bytes, part, format, count);
    if (part) XFree(part);
    if (type == None || format == 0) return std::nullopt;
    if (left == 0) break;
    offset += fetchUnits;
  }
  data.kind.format = format;
  return type;
}

}  // namespace pell
