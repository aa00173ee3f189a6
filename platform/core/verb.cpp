// SPDX-License-Identifier: Apache-2.0
#include "core/verb.h"

#include "core/form.h"

namespace tv {

bool ReadNullUser(JsonObject& fields)
{
    const std::optional<JsonNode> user = fields.Find("user");
    if (user && !user->json().isNull())
        user->Fail("can only be null");
    return user.has_value();
}

VerbResults Delivered(const std::vector<int>& results)
{
    return {{"delivered", static_cast<int>(results.size())}, {"results", ToJson(results)}};
}

}  // namespace tv
