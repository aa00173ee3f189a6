// SPDX-License-Identifier: Apache-2.0
#pragma once

enum PEPPER("PP_Bool") PP_Bool { PP_FALSE = 0, PP_TRUE = 1 };
