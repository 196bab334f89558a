#pragma once
// A named set of nodes, nested groups and animation takes; a grouping for tools and scripts, with
// no behaviour of its own in the scene. Not locked: for the thread that drives the scene.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tv {

class Node;
class AnimTake;

class Group {
public:
  explicit Group(std::string group_name = {}) : name(std::move(group_name)) {}

  // Appends the other group's nodes, groups and takes.
  void AppendGroup(const Group& other);
  // Found among this group's own nodes (not those of nested groups); null if none.
  std::shared_ptr<Node> GetNode(const std::string& node_name) const;
  std::shared_ptr<Node> GetNode(uint32_t uid) const;
  bool HasNode(const std::shared_ptr<Node>& node) const;
  bool HasGroup(const std::shared_ptr<Group>& group) const;
  void RemoveNode(const std::shared_ptr<Node>& node);
  void RemoveGroup(const std::shared_ptr<Group>& group);
  void RemoveTake(const std::shared_ptr<AnimTake>& take);
  // True when every node is ready.
  bool IsReady() const;

  std::string name;
  std::vector<std::shared_ptr<Node>> nodes;
  std::vector<std::shared_ptr<Group>> groups;
  std::vector<std::shared_ptr<AnimTake>> takes;
};

} // namespace tv
