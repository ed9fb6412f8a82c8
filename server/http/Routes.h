// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace quillo::server {

class Router;
struct ApiContext;

// Each area of the service registers its own routes; the handlers live beside them.
void addSessionRoutes(Router& router, const ApiContext& api);    // POST, DELETE /v1/session
void addAccountRoutes(Router& router, const ApiContext& api);    // GET, DELETE /v1/account
void addStateRoutes(Router& router, const ApiContext& api);      // GET, PUT /v1/state
void addReplyRoutes(Router& router, const ApiContext& api);      // POST /v1/reply
void addTranscribeRoutes(Router& router, const ApiContext& api); // POST /v1/transcribe
void addModelRoutes(Router& router, const ApiContext& api);      // POST /v1/model/check
void addAppRoutes(Router& router, const ApiContext& api);        // releases, health, readiness

} // namespace quillo::server
