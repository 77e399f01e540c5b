#include "fake_alsa_card.h"

#include <alsa/asoundlib.h>
#include <dlfcn.h>
#include <stdlib.h>

#include <fstream>
#include <stdexcept>

namespace autl::test {
namespace {

void IgnoreAlsaError(const char*, int, const char*, int, const char*, ...) {}

template <typename Function>
Function* PluginFunction(void* plugin, const char* name) {
    void* function = dlsym(plugin, name);
    if (function == nullptr) throw std::runtime_error(std::string("no ") + name + " in the plugin");
    return reinterpret_cast<Function*>(function);
}

}  // namespace

FakeAlsaCards::FakeAlsaCards() : config_path_(dir_.Join("asound.conf")) {
    // alsa-lib loads the plugin by this same path and so shares the loaded copy and its state.
    plugin_ = dlopen(AUTL_FAKE_CTL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    if (plugin_ == nullptr) throw std::runtime_error(std::string("dlopen: ") + dlerror());
    PluginFunction<void()>(plugin_, "autl_fake_ctl_reset")();

    std::ofstream config(config_path_);
    config << "ctl_type.autl_fake {\n"
              "\tlib \"" AUTL_FAKE_CTL_PLUGIN
              "\"\n"
              "}\n"
              "ctl.hw {\n"
              "\t@args [ CARD ]\n"
              "\t@args.CARD {\n"
              "\t\ttype string\n"
              "\t\tdefault \"0\"\n"
              "\t}\n"
              "\ttype autl_fake\n"
              "\tcard $CARD\n"
              "\tname \"Test Card\"\n"
              "\tstate \""
           << dir_.Join("cards.state")
           << "\"\n"
              "}\n";
    config.close();
    if (!config) throw std::runtime_error("cannot write " + config_path_);
    // A new file in a new folder: alsa-lib reloads its configuration when the path changes.
    setenv("ALSA_CONFIG_PATH", config_path_.c_str(), 1);
    snd_lib_error_set_handler(IgnoreAlsaError);
}

FakeAlsaCards::~FakeAlsaCards() {
    snd_lib_error_set_handler(nullptr);
    unsetenv("ALSA_CONFIG_PATH");
    dlclose(plugin_);
}

void FakeAlsaCards::AddLateControl(int card) {
    PluginFunction<void(int)>(plugin_, "autl_fake_ctl_add_late_control")(card);
}

}  // namespace autl::test
