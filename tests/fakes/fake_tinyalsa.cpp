#include "fake_tinyalsa.h"

#include <cerrno>
#include <cstring>
#include <thread>

namespace autl::test {
namespace {

std::atomic<FakeTinyalsa*> current_fake{nullptr};

std::string Describe(const mixer* card) {
    return card != nullptr ? std::to_string(card->card) : "null";
}

std::string Describe(const mixer_ctl* ctl) {
    return ctl != nullptr ? ctl->name : "null";
}

std::string Describe(const char* text) {
    return text != nullptr ? "\"" + std::string(text) + "\"" : "null";
}

mixer_ctl Control(std::string name, mixer_ctl_type type, std::vector<long> values) {
    mixer_ctl ctl;
    ctl.name = std::move(name);
    ctl.type = type;
    ctl.values = std::move(values);
    return ctl;
}

}  // namespace

mixer_ctl IntControl(std::string name, std::vector<long> values) {
    return Control(std::move(name), MIXER_CTL_TYPE_INT, std::move(values));
}

mixer_ctl ByteControl(std::string name, std::vector<long> values) {
    return Control(std::move(name), MIXER_CTL_TYPE_BYTE, std::move(values));
}

mixer_ctl EnumControl(std::string name, long selected, std::vector<const char*> items) {
    mixer_ctl ctl = Control(std::move(name), MIXER_CTL_TYPE_ENUM, {selected});
    ctl.items = std::move(items);
    return ctl;
}

// Records one call for as long as it runs.
class FakeCall {
  public:
    explicit FakeCall(std::string call) : fake_(current_fake.load()) {
        if (fake_ == nullptr) return;
        {
            std::lock_guard lock(fake_->calls_mutex_);
            fake_->calls_.push_back(std::move(call));
        }
        const int running = ++fake_->concurrent_calls_;
        int max = fake_->max_concurrent_calls_.load();
        while (running > max && !fake_->max_concurrent_calls_.compare_exchange_weak(max, running)) {
        }
        // Gives another thread the chance to enter while this call runs.
        std::this_thread::yield();
    }
    ~FakeCall() {
        if (fake_ != nullptr) --fake_->concurrent_calls_;
    }
    FakeCall(const FakeCall&) = delete;
    FakeCall& operator=(const FakeCall&) = delete;

    mixer* FindCard(unsigned int number) {
        if (fake_ == nullptr) return nullptr;
        const auto it = fake_->cards_.find(number);
        return it != fake_->cards_.end() ? &it->second : nullptr;
    }

  private:
    FakeTinyalsa* fake_;
};

FakeTinyalsa::FakeTinyalsa() {
    current_fake.store(this);
}

FakeTinyalsa::~FakeTinyalsa() {
    current_fake.store(nullptr);
}

mixer& FakeTinyalsa::AddCard(unsigned int number, const char* name) {
    mixer& card = cards_[number];
    card.card = number;
    card.name = name;
    return card;
}

std::vector<std::string> FakeTinyalsa::Calls() const {
    std::lock_guard lock(calls_mutex_);
    return calls_;
}

void FakeTinyalsa::ClearCalls() {
    std::lock_guard lock(calls_mutex_);
    calls_.clear();
}

}  // namespace autl::test

using autl::test::Describe;
using autl::test::FakeCall;

namespace {

bool IsArrayType(const mixer_ctl& ctl) {
    return ctl.type == MIXER_CTL_TYPE_BOOL || ctl.type == MIXER_CTL_TYPE_INT ||
           ctl.type == MIXER_CTL_TYPE_BYTE;
}

bool IsArrayAccessible(const mixer_ctl* ctl, const void* array, size_t count) {
    return ctl != nullptr && array != nullptr && count != 0 && count <= ctl->values.size() &&
           IsArrayType(*ctl);
}

}  // namespace

struct mixer* mixer_open(unsigned int card) {
    FakeCall call("mixer_open(" + std::to_string(card) + ")");
    mixer* opened = call.FindCard(card);
    if (opened == nullptr) return nullptr;
    opened->open = true;
    opened->known_controls = opened->controls.size();
    return opened;
}

void mixer_close(struct mixer* mixer) {
    FakeCall call("mixer_close(" + Describe(mixer) + ")");
    if (mixer != nullptr) mixer->open = false;
}

int mixer_add_new_ctls(struct mixer* mixer) {
    FakeCall call("mixer_add_new_ctls(" + Describe(mixer) + ")");
    if (mixer == nullptr) return 0;
    if (mixer->add_new_ctls_result.has_value()) return *mixer->add_new_ctls_result;
    mixer->known_controls = mixer->controls.size();
    return 0;
}

const char* mixer_get_name(const struct mixer* mixer) {
    FakeCall call("mixer_get_name(" + Describe(mixer) + ")");
    return mixer != nullptr ? mixer->name : nullptr;
}

struct mixer_ctl* mixer_get_ctl_by_name(struct mixer* mixer, const char* name) {
    FakeCall call("mixer_get_ctl_by_name(" + Describe(mixer) + ", " + Describe(name) + ")");
    if (mixer == nullptr || name == nullptr) return nullptr;
    for (size_t i = 0; i < mixer->known_controls; ++i) {
        if (mixer->controls[i].name == name) return &mixer->controls[i];
    }
    return nullptr;
}

int mixer_ctl_get_array(const struct mixer_ctl* ctl, void* array, size_t count) {
    FakeCall call("mixer_ctl_get_array(" + Describe(ctl) + ", " + std::to_string(count) + ")");
    if (ctl != nullptr && ctl->get_array_result.has_value()) return *ctl->get_array_result;
    if (!IsArrayAccessible(ctl, array, count)) return -EINVAL;
    for (size_t i = 0; i < count; ++i) {
        if (ctl->type == MIXER_CTL_TYPE_BYTE) {
            static_cast<unsigned char*>(array)[i] = static_cast<unsigned char>(ctl->values[i]);
        } else {
            static_cast<long*>(array)[i] = ctl->values[i];
        }
    }
    return 0;
}

int mixer_ctl_get_value(const struct mixer_ctl* ctl, unsigned int id) {
    FakeCall call("mixer_ctl_get_value(" + Describe(ctl) + ", " + std::to_string(id) + ")");
    if (ctl != nullptr && ctl->get_value_result.has_value()) return *ctl->get_value_result;
    if (ctl == nullptr || id >= ctl->values.size()) return -EINVAL;
    switch (ctl->type) {
        case MIXER_CTL_TYPE_BOOL:
            return ctl->values[id] != 0 ? 1 : 0;
        case MIXER_CTL_TYPE_INT:
        case MIXER_CTL_TYPE_ENUM:
            return static_cast<int>(ctl->values[id]);
        case MIXER_CTL_TYPE_BYTE:
            return static_cast<unsigned char>(ctl->values[id]);
        default:
            return -EINVAL;
    }
}

unsigned int mixer_ctl_get_num_values(const struct mixer_ctl* ctl) {
    FakeCall call("mixer_ctl_get_num_values(" + Describe(ctl) + ")");
    return ctl != nullptr ? static_cast<unsigned int>(ctl->values.size()) : 0;
}

unsigned int mixer_ctl_get_num_enums(const struct mixer_ctl* ctl) {
    FakeCall call("mixer_ctl_get_num_enums(" + Describe(ctl) + ")");
    if (ctl == nullptr || ctl->type != MIXER_CTL_TYPE_ENUM) return 0;
    return static_cast<unsigned int>(ctl->items.size());
}

const char* mixer_ctl_get_enum_string(struct mixer_ctl* ctl, unsigned int enum_id) {
    FakeCall call("mixer_ctl_get_enum_string(" + Describe(ctl) + ", " + std::to_string(enum_id) +
                  ")");
    if (ctl == nullptr || ctl->type != MIXER_CTL_TYPE_ENUM || enum_id >= ctl->items.size()) {
        return nullptr;
    }
    return ctl->items[enum_id];
}

int mixer_ctl_set_array(struct mixer_ctl* ctl, const void* array, size_t count) {
    FakeCall call("mixer_ctl_set_array(" + Describe(ctl) + ", " + std::to_string(count) + ")");
    if (!IsArrayAccessible(ctl, array, count)) return -EINVAL;
    for (size_t i = 0; i < ctl->values.size(); ++i) {
        if (i >= count) {
            ctl->values[i] = 0;
        } else if (ctl->type == MIXER_CTL_TYPE_BYTE) {
            ctl->values[i] = static_cast<const unsigned char*>(array)[i];
        } else {
            ctl->values[i] = static_cast<const long*>(array)[i];
        }
    }
    return 0;
}

int mixer_ctl_set_enum_by_string(struct mixer_ctl* ctl, const char* string) {
    FakeCall call("mixer_ctl_set_enum_by_string(" + Describe(ctl) + ", " + Describe(string) + ")");
    if (ctl == nullptr || string == nullptr || ctl->type != MIXER_CTL_TYPE_ENUM) return -EINVAL;
    for (size_t i = 0; i < ctl->items.size(); ++i) {
        if (ctl->items[i] != nullptr && std::strcmp(ctl->items[i], string) == 0) {
            ctl->values.assign(ctl->values.size(), 0);
            if (!ctl->values.empty()) ctl->values[0] = static_cast<long>(i);
            return 0;
        }
    }
    return -EINVAL;
}
