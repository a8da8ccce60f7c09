#include "model/Record.h"

#include "model/ModelContext.h"

void Record::didChange()
{
    if (m_context)
        m_context->recordChanged(this);
}
