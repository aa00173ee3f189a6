#pragma once

typedef enum { PP_FALSE = 0, PP_TRUE = 1 } PP_Bool;
