#include "fake_alsa_card.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <string>

#include <android-base/logging.h>

namespace autl::test {

FakeAlsaCards::FakeAlsaCards() {
    // alsa-lib loads the plugin by this same path and so shares the loaded copy and its state.
    plugin_ = dlopen(AUTL_FAKE_CTL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    CHECK(plugin_ != nullptr) << dlerror();
    reinterpret_cast<void (*)()>(dlsym(plugin_, "autl_fake_ctl_reset"))();
    const std::string config = std::string(dir_.path) + "/asound.conf";
    CHECK(android::base::WriteStringToFile("ctl_type.autl_fake.lib \"" AUTL_FAKE_CTL_PLUGIN "\"\n"
                                           "ctl.hw {\n"
                                           "\t@args [ CARD ]\n"
                                           "\t@args.CARD { type string; default \"0\" }\n"
                                           "\ttype autl_fake\n"
                                           "\tcard $CARD\n"
                                           "\tstate \"" +
                                                   std::string(dir_.path) + "/cards.state\"\n}\n",
                                           config));
    // A new file in a new folder: alsa-lib reloads its configuration when the path changes.
    setenv("ALSA_CONFIG_PATH", config.c_str(), 1);
}

FakeAlsaCards::~FakeAlsaCards() {
    unsetenv("ALSA_CONFIG_PATH");
    dlclose(plugin_);
}

void FakeAlsaCards::AddLateControl(int card) {
    reinterpret_cast<void (*)(int)>(dlsym(plugin_, "autl_fake_ctl_add_late_control"))(card);
}

}  // namespace autl::test
