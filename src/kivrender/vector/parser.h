// One direction of the translation between a flat feedback buffer and primitives. An object serves one parse.
#ifndef KIVRENDER_VECTOR_PARSER_H
#define KIVRENDER_VECTOR_PARSER_H

#include "kivrender/platform/kivexport.h"

class KIV_API Parser {
public:
    Parser() = default;
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;
    virtual ~Parser() = default;
    virtual void parse() = 0;
};

#endif
