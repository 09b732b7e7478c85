#include "app/Permissions.h"

#include <utility>

#include "platform/AccessibilityTree.h"
#include "platform/Workspace.h"

namespace pell {

namespace {
// The workspace knows what these addresses open on its desktop.
constexpr const char* accessibilitySettings =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";
constexpr const char* microphoneSettings =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";
}  // namespace

bool Permissions::hasAccessibility() const { return accessibility_.isTrusted(); }

MicrophoneAuthorization Permissions::microphoneStatus() const { return audio_.authorization(); }

bool Permissions::hasMicrophone() const { return microphoneStatus() == MicrophoneAuthorization::authorized; }

bool Permissions::hasMicrophoneDevice() const { return audio_.hasDefaultDevice(); }

bool Permissions::requestAccessibility() { return accessibility_.requestTrust(); }

void Permissions::requestMicrophone(std::function<void(bool granted)> answer) {
  audio_.requestAccess(std::move(answer));
}

void Permissions::openAccessibilitySettings() { workspace_.open(accessibilitySettings); }

void Permissions::openMicrophoneSettings() { workspace_.open(microphoneSettings); }

}  // namespace pell
