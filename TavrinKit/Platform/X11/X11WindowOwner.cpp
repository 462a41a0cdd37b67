#include "TavrinKit/Platform/X11/X11WindowOwner.h"

#include <map>
#include <utility>

#include <xcb/res.h>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Properties.h"

namespace tavrin {
namespace {

/// How deep window managers put the windows of applications into their own.
constexpr int deepestClient = 3;

/// The processes at the other ends of the server's connections, by the part of an identifier that tells
/// whose it is.
std::map<std::uint32_t, std::int32_t> connectedProcesses(xcb_connection_t* xcb) {
    const xcb_res_client_id_spec_t everyone{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const X11Owned<xcb_res_query_client_ids_reply_t> reply(
        xcb_res_query_client_ids_reply(xcb, xcb_res_query_client_ids(xcb, 1, &everyone), nullptr));
    std::map<std::uint32_t, std::int32_t> processes;
    if (!reply) {
        return processes;
    }
    for (auto each = xcb_res_query_client_ids_ids_iterator(reply.get()); each.rem > 0;
         xcb_res_client_id_value_next(&each)) {
        if (xcb_res_client_id_value_value_length(each.data) > 0) {
            const auto& [identity, length] = *each.data;
            processes[identity.client] = std::int32_t(*xcb_res_client_id_value_value(each.data));
        }
    }
    return processes;
}

/// The two texts of WM_CLASS.
std::pair<std::string, std::string> classFrom(const X11Connection& connection,
                                              xcb_get_property_cookie_t cookie) {
    const std::string bytes = propertyBytes(connection, cookie);
    const std::size_t end = bytes.find('\0');
    if (end == std::string::npos) {
        return {bytes, {}};
    }
    return {bytes.substr(0, end), bytes.substr(end + 1, bytes.find('\0', end + 1) - end - 1)};
}

} // namespace

X11WindowOwners::X11WindowOwners(const X11Connection& connection,
                                 std::shared_ptr<const DesktopEntryIndex> entries)
    : connection_(connection), entries_(std::move(entries)) {
    const auto atoms = atomsNamed(connection, {"_NET_WM_PID", "_GTK_APPLICATION_ID",
                                               "_KDE_NET_WM_DESKTOP_FILE", "WM_CLIENT_LEADER", "WM_STATE"});
    atoms_ = {atoms[0], atoms[1], atoms[2], atoms[3], atoms[4]};
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection.xcb(), &xcb_res_id);
    if (extension != nullptr && extension->present != 0) {
        const X11Owned<xcb_res_query_version_reply_t> version(xcb_res_query_version_reply(
            connection.xcb(), xcb_res_query_version(connection.xcb(), 1, 2), nullptr));
        knowsProcesses_ = version && (version->server_major > 1 || version->server_minor >= 2);
    }
    connection.throwIfBroken();
}

std::vector<X11WindowOwner> X11WindowOwners::of(const std::vector<std::uint32_t>& windows) const {
    struct Question {
        xcb_get_property_cookie_t processID, windowClass, gtkApplication, kdeDesktopFile, transientFor,
            leader;
    };
    std::vector<Question> questions;
    for (const std::uint32_t window : windows) {
        const auto ask = [&](std::uint32_t name) {
            return askProperty(connection_, window, name, XCB_ATOM_ANY);
        };
        questions.push_back({ask(atoms_.processID), ask(XCB_ATOM_WM_CLASS), ask(atoms_.gtkApplication),
                             ask(atoms_.kdeDesktopFile), ask(XCB_ATOM_WM_TRANSIENT_FOR), ask(atoms_.leader)});
    }
    const auto processes = knowsProcesses_ && !windows.empty() ? connectedProcesses(connection_.xcb())
                                                               : std::map<std::uint32_t, std::int32_t>();
    const std::uint32_t ownPart = xcb_get_setup(connection_.xcb())->resource_id_mask;

    std::vector<X11WindowOwner> owners;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const Question& question = questions[i];
        X11WindowOwner owner;
        owner.processID = std::int32_t(propertyNumber(connection_, question.processID));
        const auto process = processes.find(windows[i] & ~ownPart);
        owner.connectedProcessID = process == processes.end() ? 0 : process->second;
        const auto [instanceName, className] = classFrom(connection_, question.windowClass);
        std::string desktopFile = propertyText(connection_, question.gtkApplication);
        const std::string kdeDesktopFile = propertyText(connection_, question.kdeDesktopFile);
        if (desktopFile.empty()) {
            desktopFile = kdeDesktopFile;
        }
        owner.transientFor = propertyNumber(connection_, question.transientFor);
        owner.leader = propertyNumber(connection_, question.leader);
        owner.bundleIdentifier = owner.applicationName = className.empty() ? instanceName : className;
        if (const auto entry = entries_->find({desktopFile, instanceName, className})) {
            owner.bundleIdentifier = entry->identifier;
            owner.applicationName = entry->name;
        }
        owners.push_back(std::move(owner));
    }
    connection_.throwIfBroken();
    return owners;
}

std::vector<std::uint32_t> X11WindowOwners::clientsOf(const std::vector<std::uint32_t>& topLevels) const {
    struct Candidate {
        std::size_t topLevel;
        std::uint32_t window;
        xcb_get_property_cookie_t state{};
        xcb_query_tree_cookie_t tree{};
    };
    xcb_connection_t* xcb = connection_.xcb();
    std::vector<std::uint32_t> clients(topLevels.size());
    std::vector<Candidate> level;
    for (std::size_t i = 0; i < topLevels.size(); ++i) {
        level.push_back({i, topLevels[i]});
    }
    for (int depth = 0; depth <= deepestClient && !level.empty(); ++depth) {
        for (Candidate& candidate : level) {
            candidate.state = askProperty(connection_, candidate.window, atoms_.state, XCB_ATOM_ANY);
            candidate.tree = xcb_query_tree(xcb, candidate.window);
        }
        std::vector<Candidate> below;
        for (const Candidate& candidate : level) {
            const X11Owned<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(xcb, candidate.tree, nullptr));
            if (!propertyNumbers(connection_, candidate.state).empty() && clients[candidate.topLevel] == 0) {
                clients[candidate.topLevel] = candidate.window;
            }
            if (tree) {
                const xcb_window_t* children = xcb_query_tree_children(tree.get());
                for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
                    below.push_back({candidate.topLevel, children[i]});
                }
            }
        }
        std::erase_if(below, [&](const Candidate& each) { return clients[each.topLevel] != 0; });
        level = std::move(below);
    }
    for (std::size_t i = 0; i < topLevels.size(); ++i) {
        if (clients[i] == 0) {
            clients[i] = topLevels[i];
        }
    }
    connection_.throwIfBroken();
    return clients;
}

} // namespace tavrin
