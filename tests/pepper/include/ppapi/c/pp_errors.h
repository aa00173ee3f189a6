// SPDX-License-Identifier: Apache-2.0
#pragma once

enum { PP_OK PEPPER("PP_OK") };
