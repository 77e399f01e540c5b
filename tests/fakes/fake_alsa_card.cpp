#include "fake_alsa_card.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <fstream>
#include <stdexcept>

namespace autl::test {
namespace {

void* PluginFunction(void* plugin, const char* name) {
    void* function = dlsym(plugin, name);
    if (function == nullptr) throw std::runtime_error(std::string("no ") + name + " in the plugin");
    return function;
}

}  // namespace

FakeAlsaCards::FakeAlsaCards() : config_path_(dir_.Join("asound.conf")) {
    // alsa-lib loads the plugin by this same path and so shares the loaded copy and its state.
    plugin_ = dlopen(AUTL_FAKE_CTL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    if (plugin_ == nullptr) throw std::runtime_error(std::string("dlopen: ") + dlerror());
    reinterpret_cast<void (*)()>(PluginFunction(plugin_, "autl_fake_ctl_reset"))();

    std::ofstream(config_path_) << "ctl_type.autl_fake.lib \"" AUTL_FAKE_CTL_PLUGIN "\"\n"
                                << "ctl.hw {\n"
                                   "\t@args [ CARD ]\n"
                                   "\t@args.CARD { type string; default \"0\" }\n"
                                   "\ttype autl_fake\n"
                                   "\tcard $CARD\n"
                                   "\tname \"Test Card\"\n"
                                   "\tstate \""
                                << dir_.Join("cards.state") << "\"\n}\n";
    if (ReadFile(config_path_).empty()) throw std::runtime_error("cannot write " + config_path_);
    // A new file in a new folder: alsa-lib reloads its configuration when the path changes.
    setenv("ALSA_CONFIG_PATH", config_path_.c_str(), 1);
}

FakeAlsaCards::~FakeAlsaCards() {
    unsetenv("ALSA_CONFIG_PATH");
    dlclose(plugin_);
}

void FakeAlsaCards::AddLateControl(int card) {
    reinterpret_cast<void (*)(int)>(PluginFunction(plugin_, "autl_fake_ctl_add_late_control"))(card);
}

}  // namespace autl::test
