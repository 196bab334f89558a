#include "scene/group.h"

#include <algorithm>

#include "scene/node.h"

namespace tv {

void Group::AppendGroup(const Group& other) {
  // Copies first: appending a group to itself doubles it rather than reading what it appends.
  const std::vector<std::shared_ptr<Node>> other_nodes = other.nodes;
  const std::vector<std::shared_ptr<Group>> other_groups = other.groups;
  const std::vector<std::shared_ptr<AnimTake>> other_takes = other.takes;
  nodes.insert(nodes.end(), other_nodes.begin(), other_nodes.end());
  groups.insert(groups.end(), other_groups.begin(), other_groups.end());
  takes.insert(takes.end(), other_takes.begin(), other_takes.end());
}

std::shared_ptr<Node> Group::GetNode(const std::string& node_name) const {
  for (const std::shared_ptr<Node>& node : nodes)
    if (node->GetName() == node_name) return node;
  return nullptr;
}

std::shared_ptr<Node> Group::GetNode(uint32_t uid) const {
  for (const std::shared_ptr<Node>& node : nodes)
    if (node->GetUid() == uid) return node;
  return nullptr;
}

bool Group::HasNode(const std::shared_ptr<Node>& node) const {
  return std::find(nodes.begin(), nodes.end(), node) != nodes.end();
}

bool Group::HasGroup(const std::shared_ptr<Group>& group) const {
  return std::find(groups.begin(), groups.end(), group) != groups.end();
}

void Group::RemoveNode(const std::shared_ptr<Node>& node) { std::erase(nodes, node); }
void Group::RemoveGroup(const std::shared_ptr<Group>& group) { std::erase(groups, group); }
void Group::RemoveTake(const std::shared_ptr<AnimTake>& take) { std::erase(takes, take); }

bool Group::IsReady() const {
  return std::all_of(nodes.begin(), nodes.end(), [](const std::shared_ptr<Node>& node) { return node->IsReady(); });
}

} // namespace tv
