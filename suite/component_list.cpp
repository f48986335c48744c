#include "suite/component_list.h"

AutomationObject create_Component(const SuiteComponent& component) {
  if (auto object = create_Object(component.ProgId, component.AnswerLimit))
    return object;
  for (const auto& server : component.Servers)
    if (server.File != nullptr)
      register_Server(server.Folder() + server.File);
  return create_Object(component.ProgId, component.AnswerLimit);
}
