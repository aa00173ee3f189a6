#pragma once

namespace pp {

class PEPPER("CompletionCallback") CompletionCallback {};

}  // namespace pp
