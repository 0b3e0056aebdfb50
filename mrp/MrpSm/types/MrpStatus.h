#pragma once

#include <map>

#include "mrp/MrpSm/types/MrpApplicationDatabase.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "platform/state/Entity.h"

namespace Mrp {

// What an engine publishes: its application, and the application's database. Outlives the engine,
// so that a standby engine can start from it. While an engine is active only it writes the
// database.
class MrpStatus final : public Entity {
  public:
    using Entity::Entity;

    MrpApplication application() const { return application_; }
    void applicationIs(MrpApplication application) { application_ = application; }

    // Null when the application has no database.
    MrpApplicationDatabase* applicationDatabase(MrpApplication application) const {
        const auto found = databases_.find(application);
        return found != databases_.end() ? found->second.get() : nullptr;
    }
    Ptr<MrpApplicationDatabase> applicationDatabaseIs(MrpApplication application) {
        Ptr<MrpApplicationDatabase>& database = databases_[application];
        if (!database) {
            database = makePtr<MrpApplicationDatabase>(application);
        }
        return database;
    }

  private:
    MrpApplication application_ = MrpApplication::none;
    std::map<MrpApplication, Ptr<MrpApplicationDatabase>> databases_;
};

}  // namespace Mrp
