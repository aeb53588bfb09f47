#include "platform/linux/pipewire/CameraNodes.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include <pipewire/pipewire.h>

#include "platform/linux/pipewire/Connection.h"

namespace lanternfly::pipewire {
namespace {

// PipeWire answers within milliseconds.
constexpr std::chrono::seconds patience(3);

void addTo(Properties& properties, const spa_dict* dictionary) {
    if (!dictionary) return;
    for (uint32_t i = 0; i < dictionary->n_items; ++i)
        if (dictionary->items[i].value)
            properties[dictionary->items[i].key] = dictionary->items[i].value;
}

} // namespace

struct CameraNodes::State {
    // A node whose description is on its way or here; bound to the connection's thread.
    struct Entry {
        State* owner = nullptr;
        CameraNode node;
        pw_node* proxy = nullptr;
        spa_hook hook{};
        int describedAt = 0; // the answer after which nothing more comes
        bool isTold = false;
    };
    struct Listing {
        std::vector<CameraNode> nodes;
        bool isComplete = false; // or there is nothing to list
    };

    explicit State(Filter kept)
        : filter(std::move(kept)),
          connection("camera-nodes", {.connected = [this](pw_core& it) { connected(it); },
                                      .disconnected = [this] { disconnected(); },
                                      .unreachable = [this] { setComplete(true); }}) {
        coreEvents.version = PW_VERSION_CORE_EVENTS;
        coreEvents.done = [](void* self, uint32_t id, int sequence) {
            if (id == PW_ID_CORE) static_cast<State*>(self)->answered(sequence);
        };
        registryEvents.version = PW_VERSION_REGISTRY_EVENTS;
        registryEvents.global = [](void* self, uint32_t id, uint32_t, const char* type, uint32_t,
                                   const spa_dict* properties) {
            if (std::string_view(type) == PW_TYPE_INTERFACE_Node)
                static_cast<State*>(self)->appeared(id, properties);
        };
        registryEvents.global_remove = [](void* self, uint32_t id) {
            static_cast<State*>(self)->vanished(id);
        };
        nodeEvents.version = PW_VERSION_NODE_EVENTS;
        nodeEvents.info = [](void* entry, const pw_node_info* info) {
            addTo(static_cast<Entry*>(entry)->node.properties, info->props);
        };
        nodeEvents.param = [](void* entry, int, uint32_t id, uint32_t, uint32_t,
                              const spa_pod* parameter) {
            if (id != SPA_PARAM_EnumFormat || !parameter) return;
            auto& formats = static_cast<Entry*>(entry)->node.formats;
            for (VideoFormat& format : formatsOf(*parameter))
                formats.push_back(format);
        };
        connection.start();
    }

    void connected(pw_core& it) {
        core = &it;
        setComplete(false);
        coreHook = registryHook = {};
        pw_core_add_listener(core, &coreHook, &coreEvents, this);
        registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
        pw_registry_add_listener(registry, &registryHook, &registryEvents, this);
        // After the first answer all nodes are known by name, after the second they are described.
        namedAt = pw_core_sync(core, PW_ID_CORE, 0);
        listedAt.reset();
    }
    void disconnected() {
        while (!entries.empty())
            remove(entries.begin());
        spa_hook_remove(&registryHook);
        spa_hook_remove(&coreHook);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(std::exchange(registry, nullptr)));
        core = nullptr;
    }
    void appeared(uint32_t id, const spa_dict* dictionary) {
        auto entry = std::make_unique<Entry>();
        addTo(entry->node.properties, dictionary);
        // What else makes a node a camera is known later.
        if (entry->node.properties["media.class"] != "Video/Source") return;
        entry->owner = this;
        entry->node.id = id;
        entry->proxy = static_cast<pw_node*>(
            pw_registry_bind(registry, id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
        if (!entry->proxy) return;
        pw_node_add_listener(entry->proxy, &entry->hook, &nodeEvents, entry.get());
        pw_node_enum_params(entry->proxy, 0, SPA_PARAM_EnumFormat, 0, UINT32_MAX, nullptr);
        entry->describedAt = pw_core_sync(core, PW_ID_CORE, 0);
        entries.push_back(std::move(entry));
    }
    void vanished(uint32_t id) {
        const auto found =
            std::ranges::find_if(entries, [&](const auto& entry) { return entry->node.id == id; });
        if (found != entries.end()) remove(found);
    }
    void answered(int sequence) {
        for (const auto& entry : entries)
            if (entry->describedAt == sequence) tell(*entry);
        if (sequence == namedAt)
            listedAt = pw_core_sync(core, PW_ID_CORE, 0);
        else if (sequence == listedAt)
            setComplete(true);
    }
    void tell(Entry& entry) {
        CameraNode& node = entry.node;
        node.formats = sortedFormats(std::move(node.formats));
        if (!isCamera(node.properties) || node.formats.empty() || !filter(node.properties)) return;
        {
            const std::lock_guard guard(mutex);
            std::set<std::string> taken;
            for (const CameraNode& other : listing.nodes)
                taken.insert(other.uniqueID);
            node.uniqueID = idOf(node.properties, taken);
            listing.nodes.push_back(node);
        }
        entry.isTold = true;
        if (const News kept = news.get()) kept(CameraChange::Kind::connected, node);
    }
    void remove(std::vector<std::unique_ptr<Entry>>::iterator position) {
        const std::unique_ptr<Entry> entry = std::move(*position);
        entries.erase(position);
        spa_hook_remove(&entry->hook);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(entry->proxy));
        if (!entry->isTold) return;
        {
            const std::lock_guard guard(mutex);
            std::erase_if(listing.nodes, [&](const CameraNode& other) {
                return other.uniqueID == entry->node.uniqueID;
            });
        }
        if (const News kept = news.get()) kept(CameraChange::Kind::disconnected, entry->node);
    }
    void setComplete(bool isComplete) {
        const std::lock_guard guard(mutex);
        listing.isComplete = isComplete;
        completed.notify_all();
    }

    const Filter filter;
    LockedCell<News> news;
    std::mutex mutex;
    std::condition_variable completed;
    Listing listing;

    pw_core_events coreEvents{};
    pw_registry_events registryEvents{};
    pw_node_events nodeEvents{};
    pw_core* core = nullptr;
    pw_registry* registry = nullptr;
    spa_hook coreHook{}, registryHook{};
    int namedAt = 0;
    std::optional<int> listedAt;
    std::vector<std::unique_ptr<Entry>> entries;
    Connection connection; // last: its thread uses the others
};

CameraNodes::CameraNodes(Filter filter) : _state(std::make_unique<State>(std::move(filter))) {}

CameraNodes::~CameraNodes() {
    _state->news.set({});
    _state->connection.stop();
}

std::vector<CameraNode> CameraNodes::all() {
    std::unique_lock lock(_state->mutex);
    _state->completed.wait_for(lock, patience, [&] { return _state->listing.isComplete; });
    return _state->listing.nodes;
}

std::optional<std::string> CameraNodes::targetOf(const std::string& uniqueID) const {
    const std::lock_guard guard(_state->mutex);
    const auto& nodes = _state->listing.nodes;
    const auto found = std::ranges::find(nodes, uniqueID, &CameraNode::uniqueID);
    if (found == nodes.end()) return std::nullopt;
    const auto serial = found->properties.find("object.serial");
    return serial == found->properties.end() ? found->properties.at("node.name") : serial->second;
}

void CameraNodes::setNews(News news) {
    _state->news.set(std::move(news));
}

} // namespace lanternfly::pipewire
