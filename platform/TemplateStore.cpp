#include "platform/TemplateStore.h"

#include "platform/Registry.h"

namespace {

std::wstring TemplateKey()
{
    return std::wstring(kProductKey) + L"\\Tools\\Talvenor";
}

const wchar_t* TemplateValueName(int column)
{
    return column == 1 ? L"Template Text Column 1" : L"Template Text Column 2";
}

}  // namespace

std::optional<std::wstring> ReadTemplate(int column)
{
    std::wstring text;
    if (!CRegistry(HKEY_CURRENT_USER).ReadString(TemplateKey(), TemplateValueName(column), text)) {
        return std::nullopt;
    }
    return text;
}

bool HasTemplate(int column)
{
    return CRegistry(HKEY_CURRENT_USER).HasString(TemplateKey(), TemplateValueName(column));
}

bool WriteTemplate(int column, const std::wstring& text)
{
    return CRegistry(HKEY_CURRENT_USER).WriteString(TemplateKey(), TemplateValueName(column), text);
}
