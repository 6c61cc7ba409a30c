// Prints what the runtime makes of the records of Kal.cs, one line a record and member: name, size or offset.
using System;
using System.Reflection;
using System.Runtime.InteropServices;

public static class KalLayout
{
    public static void Main()
    {
        foreach (Type record in new[] { typeof(Kal.PortInfoRecord), typeof(Kal.KalPrinterStatusRecord) })
        {
            Console.WriteLine("{0} {1}", record.Name, Marshal.SizeOf(record));
            foreach (FieldInfo member in record.GetFields())
            {
                Console.WriteLine("{0}.{1} {2}", record.Name, member.Name, Marshal.OffsetOf(record, member.Name));
            }
        }
        foreach (MethodInfo export in typeof(Kal.Native).GetMethods(BindingFlags.Public | BindingFlags.Static))
        {
            Console.WriteLine("{0}() {1}", export.Name, export.GetParameters().Length);
        }
    }
}
